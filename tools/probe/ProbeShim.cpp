// libUIRemoteProbe.so (libUIRemoteProbeQt6.so in Qt 6 builds), the preloaded part of the probe.
// It links nothing but the C library (no C++ library calls, no exceptions), so it can sit in any
// process: once the program holds Qt it takes itself off LD_PRELOAD (the program's children start
// without it), checks that the program runs the Qt major the probe was built for
// (UIRC_PROBE_QT_MAJOR), at a compatible version, and only then loads the Qt part beside it
// (UIRC_PROBE_QT_PART), which waits for the scene.
//
// A program linked against Qt is decided at start. Any other program may still load Qt later
// with dlopen (a Python program importing PyQt or PySide): the probe watches its loads
// (ProbeShimDlopen.cpp) and decides when Qt arrives. It loads its Qt part only once the program
// has loaded Qt Quick too, so that the part's Qt libraries are the program's own (bindings may
// bring a Qt of their own). Until then it keeps the preload in the environment, so the Qt
// program a wrapper script starts gets the probe. Nothing is said at start about a program
// without Qt; the process the launcher started says at its exit that it never loaded Qt.

#include "ProbeShim.h"

#include <dlfcn.h>
#include <link.h>
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

// Whether the program holds an object whose file name starts with a prefix. Walking the loaded
// objects never runs initialisers (dlopen does, for objects another load has yet to initialise).
int MatchObject(struct dl_phdr_info *info, size_t, void *prefix)
{
    const char *wanted = static_cast<const char *>(prefix);
    return info->dlpi_name && strncmp(BaseName(info->dlpi_name), wanted, strlen(wanted)) == 0;
}

bool LoadedObject(const char *library, int major)
{
    char prefix[64];
    snprintf(prefix, sizeof prefix, "libQt%d%s.so", major, library);
    return dl_iterate_phdr(&MatchObject, prefix) != 0;
}

// The version of the Qt core library of a major in the program (libQt<major>Core.so.<major>):
// false when the program has none.
bool LoadedQtVersion(int major, char *version, size_t size)
{
    if (!LoadedObject("Core", major))
        return false;
    char soname[64];
    snprintf(soname, sizeof soname, "libQt%dCore.so.%d", major, major);
    void *handle = uirc_shim::RealDlopen()(soname, RTLD_LAZY | RTLD_NOLOAD);
    using VersionFunction = const char *(*)();
    auto versionOf = handle ? reinterpret_cast<VersionFunction>(dlsym(handle, "qVersion")) : nullptr;
    snprintf(version, size, "%s", versionOf ? versionOf() : "unknown");
    if (handle)
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

// Whether the program has loaded the Qt Quick library of a major.
bool LoadedQtQuick(int major)
{
    return LoadedObject("Quick", major);
}

// Loads the Qt part from this library's folder and starts it.
void StartQtPart(const char *self)
{
    char qtPart[PATH_MAX];
    const char *slash = strrchr(self, '/');
    snprintf(qtPart, sizeof qtPart, "%.*s%s", slash ? static_cast<int>(slash - self + 1) : 0, self,
             UIRC_PROBE_QT_PART);
    void *handle = uirc_shim::RealDlopen()(qtPart, RTLD_NOW | RTLD_LOCAL);
    using StartFunction = void (*)();
    auto start = handle ? reinterpret_cast<StartFunction>(dlsym(handle, "uiremote_probe_start")) : nullptr;
    if (!start) {
        const char *error = dlerror();
        GiveUp("cannot load %s%s%s", qtPart, error ? ": " : "", error ? error : "");
        return;
    }
    start();
}

// What the probe knows of the program; it only moves forward, and each move is claimed by one
// thread (loads may happen on any thread).
enum State {
    kWatching, // no Qt yet
    kQtCore,   // the Qt core library of the probe's major, at a compatible version: waits for Qt Quick
    kDecided,  // served, or left alone after one line
};
int g_state = kWatching;

bool Claim(int from, int to)
{
    return __atomic_compare_exchange_n(&g_state, &from, to, false, __ATOMIC_ACQ_REL, __ATOMIC_ACQUIRE);
}

// Decides what it can from the Qt libraries the program holds now. At start a program linked
// against Qt is served at once, as its Qt Quick library may well come later.
void Look(bool atStart)
{
    const int state = __atomic_load_n(&g_state, __ATOMIC_ACQUIRE);
    if (state == kDecided)
        return;
    const int builtMajor = UIRC_PROBE_QT_MAJOR;
    const int otherMajor = builtMajor == 5 ? 6 : 5;
    const char *self = OwnPath();
    char program[PATH_MAX];
    char qtVersion[64];
    if (state == kWatching) {
        if (!LoadedQtVersion(builtMajor, qtVersion, sizeof qtVersion)) {
            if (LoadedQtVersion(otherMajor, qtVersion, sizeof qtVersion) && Claim(kWatching, kDecided)) {
                DropPreload(self);
                ProgramName(program, sizeof program);
                GiveUp("%s uses Qt %s; the probe was built with Qt " UIRC_PROBE_QT_VERSION, program, qtVersion);
            }
            return;
        }
        if (!Compatible(qtVersion, UIRC_PROBE_QT_VERSION)) {
            if (Claim(kWatching, kDecided)) {
                DropPreload(self);
                ProgramName(program, sizeof program);
                GiveUp("%s uses Qt %s; the probe was built with Qt " UIRC_PROBE_QT_VERSION, program, qtVersion);
            }
            return;
        }
        if (!atStart && !LoadedQtQuick(builtMajor)) {
            if (Claim(kWatching, kQtCore))
                DropPreload(self);
            return;
        }
        if (!Claim(kWatching, kDecided))
            return;
    } else if (!LoadedQtQuick(builtMajor) || !Claim(kQtCore, kDecided)) {
        return;
    }
    DropPreload(self);
    StartQtPart(self);
}

bool g_started = false;

__attribute__((constructor)) void StartProbe()
{
    Look(true);
    __atomic_store_n(&g_started, true, __ATOMIC_RELEASE);
}

// The process the launcher started says why nothing listened when it ends without Qt Quick. It
// stays silent at start: a program without Qt then may load it later, and a wrapper script that
// executes the Qt program in its own place never ends. A process that started other programs
// still ends with the line, as the probe cannot know whether one of them was served. A process
// that leaves through _exit (some shells do) ends silently.
__attribute__((destructor)) void EndProbe()
{
    const int state = __atomic_load_n(&g_state, __ATOMIC_ACQUIRE);
    if (state == kDecided || !LaunchedDirectly())
        return;
    char program[PATH_MAX];
    ProgramName(program, sizeof program);
    if (state == kQtCore)
        GiveUp("%s ends without having loaded Qt Quick", program);
    else
        fprintf(stderr, "uiremote: %s ends without having loaded Qt (the preload passed on to the programs it started)\n",
                program);
}

} // namespace

void uirc_shim::LookForQt()
{
    // Loads made by the initialisers of libraries that start before the probe are the start's.
    if (__atomic_load_n(&g_started, __ATOMIC_ACQUIRE))
        Look(false);
}
