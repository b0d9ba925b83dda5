// libUIRemoteProbe.so (libUIRemoteProbeQt6.so in Qt 6 builds), the preloaded part of the probe.
// It links nothing but the C library (no C++ library calls, no exceptions), so it can sit in any
// process: it takes itself off LD_PRELOAD (the program's children start without it), checks that
// the program runs the Qt major the probe was built for (UIRC_PROBE_QT_MAJOR), at a compatible
// version, and only then loads the Qt part beside it (UIRC_PROBE_QT_PART), which waits for the
// scene.
//
// A process that does not use Qt (a wrapper script, say) keeps the preload in its environment,
// so the Qt program it starts gets the probe.

#include <dlfcn.h>
#include <limits.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

namespace {

void GiveUp(const char *format, ...) __attribute__((format(printf, 1, 2)));

void GiveUp(const char *format, ...)
{
    char line[2 * PATH_MAX];
    va_list args;
    va_start(args, format);
    vsnprintf(line, sizeof line, format, args);
    va_end(args);
    fprintf(stderr, "uiremote: giving up: %s\n", line);
}

// The path this library was loaded from; empty when unknown.
const char *OwnPath()
{
    Dl_info info;
    if (dladdr(reinterpret_cast<void *>(&OwnPath), &info) && info.dli_fname)
        return info.dli_fname;
    return "";
}

const char *BaseName(const char *path)
{
    const char *slash = strrchr(path, '/');
    return slash ? slash + 1 : path;
}

// LD_PRELOAD without this library (entries are separated by colons or spaces).
void DropPreload(const char *self)
{
    const char *value = getenv("LD_PRELOAD");
    if (!value)
        return;
    const char *own = BaseName(self);
    const size_t ownLength = strlen(own);
    char *kept = static_cast<char *>(malloc(strlen(value) + 1));
    if (!kept)
        return;
    size_t keptLength = 0;
    for (const char *entry = value; *entry;) {
        const size_t length = strcspn(entry, ": ");
        if (length > 0) {
            // The entry's base name: what follows its last slash.
            const char *base = entry;
            for (const char *at = entry; at < entry + length; ++at) {
                if (*at == '/')
                    base = at + 1;
            }
            const size_t baseLength = static_cast<size_t>(entry + length - base);
            if (baseLength != ownLength || strncmp(base, own, ownLength) != 0) {
                if (keptLength > 0)
                    kept[keptLength++] = ':';
                memcpy(kept + keptLength, entry, length);
                keptLength += length;
            }
        }
        entry += length;
        if (*entry)
            ++entry;
    }
    kept[keptLength] = '\0';
    if (keptLength == 0)
        unsetenv("LD_PRELOAD");
    else
        setenv("LD_PRELOAD", kept, 1);
    free(kept);
}

// The version of the Qt core library of a major in the program (libQt<major>Core.so.<major>):
// false when the program has none.
bool LoadedQtVersion(int major, char *version, size_t size)
{
    char soname[64];
    snprintf(soname, sizeof soname, "libQt%dCore.so.%d", major, major);
    void *handle = dlopen(soname, RTLD_LAZY | RTLD_NOLOAD);
    if (!handle)
        return false;
    using VersionFunction = const char *(*)();
    auto versionOf = reinterpret_cast<VersionFunction>(dlsym(handle, "qVersion"));
    snprintf(version, size, "%s", versionOf ? versionOf() : "unknown");
    dlclose(handle);
    return true;
}

// Same major version, and a minor version at least the one the probe was built with.
bool Compatible(const char *runtime, const char *built)
{
    int runMajor = 0, runMinor = 0, builtMajor = 0, builtMinor = 0;
    if (sscanf(runtime, "%d.%d", &runMajor, &runMinor) != 2 || sscanf(built, "%d.%d", &builtMajor, &builtMinor) != 2)
        return false;
    return runMajor == builtMajor && runMinor >= builtMinor;
}

bool LaunchedDirectly()
{
    const char *pid = getenv("UIREMOTE_LAUNCH_PID");
    return pid && atol(pid) == static_cast<long>(getpid());
}

// The program's path, for the lines the probe prints.
void ProgramName(char *name, size_t size)
{
    const ssize_t length = readlink("/proc/self/exe", name, size - 1);
    if (length > 0)
        name[length] = '\0';
    else
        snprintf(name, size, "this program");
}

__attribute__((constructor)) void StartProbe()
{
    const int builtMajor = UIRC_PROBE_QT_MAJOR;
    const int otherMajor = builtMajor == 5 ? 6 : 5;
    const char *self = OwnPath();
    char program[PATH_MAX];
    char qtVersion[64];
    if (!LoadedQtVersion(builtMajor, qtVersion, sizeof qtVersion)) {
        if (LoadedQtVersion(otherMajor, qtVersion, sizeof qtVersion)) {
            DropPreload(self);
            ProgramName(program, sizeof program);
            GiveUp("%s uses Qt %s; the probe was built with Qt " UIRC_PROBE_QT_VERSION, program, qtVersion);
        } else if (LaunchedDirectly()) {
            ProgramName(program, sizeof program);
            GiveUp("%s does not use Qt (the preload passes on to the programs it starts)", program);
        }
        return;
    }
    DropPreload(self);
    if (!Compatible(qtVersion, UIRC_PROBE_QT_VERSION)) {
        ProgramName(program, sizeof program);
        GiveUp("%s uses Qt %s; the probe was built with Qt " UIRC_PROBE_QT_VERSION, program, qtVersion);
        return;
    }
    // The Qt part lies in this library's folder.
    char qtPart[PATH_MAX];
    const char *slash = strrchr(self, '/');
    snprintf(qtPart, sizeof qtPart, "%.*s%s", slash ? static_cast<int>(slash - self + 1) : 0, self,
             UIRC_PROBE_QT_PART);
    void *handle = dlopen(qtPart, RTLD_NOW | RTLD_LOCAL);
    using StartFunction = void (*)();
    auto start = handle ? reinterpret_cast<StartFunction>(dlsym(handle, "uiremote_probe_start")) : nullptr;
    if (!start) {
        const char *error = dlerror();
        GiveUp("cannot load %s%s%s", qtPart, error ? ": " : "", error ? error : "");
        return;
    }
    start();
}

} // namespace
