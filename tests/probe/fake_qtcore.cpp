// Stands in for the Qt core library of a program built with an older Qt of the probe's major
// (UIRC_FAKE_QT_VERSION): it only tells its version, which is all the probe asks before it gives
// up.
extern "C" __attribute__((visibility("default"))) const char *qVersion()
{
    return UIRC_FAKE_QT_VERSION;
}
