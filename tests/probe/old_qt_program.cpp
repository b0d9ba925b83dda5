// A program that prints the version of the Qt core library it is linked against and ends: the
// stand-in of an older Qt beside it, or the real core library of the other Qt major.
#include <cstdio>

extern "C" const char *qVersion();

int main()
{
    std::printf("running with Qt %s\n", qVersion());
    return 0;
}
