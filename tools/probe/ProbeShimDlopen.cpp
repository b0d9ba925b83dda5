// The preloaded probe's view of libraries the program loads at run time: Python bindings, for
// one, bring Qt in with dlopen long after the program started. The probe's dlopen stands in
// front of the C library's and lets ProbeShim.cpp look for Qt once a load is complete.
//
// The loader resolves a bare name ("libfoo.so", no slash) along the RUNPATH of the object that
// calls dlopen, and expands "$ORIGIN" from it. For such names the probe's dlopen must not be the
// caller: it jumps straight on (a tail call, so the C library sees the program's return address)
// and looks at nothing; what such a load brings in is noticed after the next load by path (a Qt
// plugin, say). Names with a slash (extension modules, Qt's plugins) do not depend on the caller.
// Loads made by the initialisers of a library being loaded are left unlooked at, as the libraries
// of the outer load may not be initialised yet; the outer load looks once it is complete.

#include "ProbeShim.h"

#include <dlfcn.h>
#include <string.h>

#if defined(__has_cpp_attribute)
#if __has_cpp_attribute(clang::musttail)
#define UIRC_TAIL_CALL [[clang::musttail]]
#endif
#endif
#ifndef UIRC_TAIL_CALL
#define UIRC_TAIL_CALL // GCC makes a sibling call of it at -O2, which the build asks for
#endif

namespace uirc_shim {

DlopenFunction RealDlopen()
{
    static DlopenFunction real = nullptr;
    DlopenFunction found = __atomic_load_n(&real, __ATOMIC_ACQUIRE);
    if (!found) {
        found = reinterpret_cast<DlopenFunction>(dlsym(RTLD_NEXT, "dlopen"));
        __atomic_store_n(&real, found, __ATOMIC_RELEASE);
    }
    return found;
}

} // namespace uirc_shim

namespace {

bool DependsOnCaller(const char *file)
{
    return file && (!strchr(file, '/') || strchr(file, '$'));
}

thread_local int t_depth = 0; // the probe's dlopen calls under way on this thread

} // namespace

extern "C" __attribute__((visibility("default"))) void *dlopen(const char *file, int mode)
{
    const uirc_shim::DlopenFunction real = uirc_shim::RealDlopen();
    if (DependsOnCaller(file))
        UIRC_TAIL_CALL return real(file, mode);
    ++t_depth;
    void *handle = real(file, mode);
    --t_depth;
    if (handle && file && !(mode & RTLD_NOLOAD) && t_depth == 0)
        uirc_shim::LookForQt();
    return handle;
}
