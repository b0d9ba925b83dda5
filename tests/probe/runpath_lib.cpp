// The library runpath_program.cpp loads by its bare name.
extern "C" __attribute__((visibility("default"))) int probe_runpath_value()
{
    return 7;
}
