// A program linked against an older Qt 5 core library (the stand-in beside it). It prints its
// Qt version and ends.
#include <cstdio>

extern "C" const char *qVersion();

int main()
{
    std::printf("running with Qt %s\n", qVersion());
    return 0;
}
