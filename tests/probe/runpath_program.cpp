// A program that loads a library by its bare name from a folder only its own RUNPATH names, as
// programs with private plugin folders do: under the probe the load must find it all the same.
#include <dlfcn.h>
#include <cstdio>

int main()
{
    void *handle = dlopen("libprobe-runpath-lib.so", RTLD_NOW);
    if (!handle) {
        std::printf("cannot load: %s\n", dlerror());
        return 1;
    }
    std::printf("loaded\n");
    return 0;
}
