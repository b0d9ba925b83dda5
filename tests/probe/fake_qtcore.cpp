// Stands in for the Qt core library of a program built with an older Qt 5: it only tells its
// version, which is all the probe asks before it gives up.
extern "C" __attribute__((visibility("default"))) const char *qVersion()
{
    return "5.9.0";
}
