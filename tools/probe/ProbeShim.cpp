// libUIRemoteProbe.so (libUIRemoteProbeQt6.so in Qt 6 builds), the preloaded part of the probe.
// It links nothing but the C library, so it can sit in any process: it takes itself off
// LD_PRELOAD (the program's children start without it), checks that the program runs the Qt
// major the probe was built for, at a compatible version, and only then loads the Qt part beside
// it (UIRC_PROBE_QT_PART), which waits for the scene.
//
// A process that does not use Qt (a wrapper script, say) keeps the preload in its environment,
// so the Qt program it starts gets the probe.

#include <dlfcn.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

namespace {

void GiveUp(const std::string &why)
{
    std::fprintf(stderr, "uiremote: giving up: %s\n", why.c_str());
}

std::string OwnPath()
{
    Dl_info info;
    if (dladdr(reinterpret_cast<void *>(&GiveUp), &info) && info.dli_fname)
        return info.dli_fname;
    return std::string();
}

std::string BaseName(const std::string &path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? path : path.substr(slash + 1);
}

// LD_PRELOAD without this library (entries are separated by colons or spaces).
void DropPreload(const std::string &self)
{
    const char *value = std::getenv("LD_PRELOAD");
    if (!value)
        return;
    const std::string own = BaseName(self);
    std::string kept;
    std::string entries(value);
    size_t start = 0;
    while (start <= entries.size()) {
        size_t end = entries.find_first_of(": ", start);
        if (end == std::string::npos)
            end = entries.size();
        const std::string entry = entries.substr(start, end - start);
        if (!entry.empty() && BaseName(entry) != own)
            kept += (kept.empty() ? "" : ":") + entry;
        start = end + 1;
    }
    if (kept.empty())
        unsetenv("LD_PRELOAD");
    else
        setenv("LD_PRELOAD", kept.c_str(), 1);
}

// The Qt core library of a Qt major, as programs load it.
std::string CoreLibrary(int major)
{
    const std::string number = std::to_string(major);
    return "libQt" + number + "Core.so." + number;
}

// The version of the given Qt core library in the program, empty when the program has none.
std::string LoadedQtVersion(const std::string &soname)
{
    void *handle = dlopen(soname.c_str(), RTLD_LAZY | RTLD_NOLOAD);
    if (!handle)
        return std::string();
    using VersionFunction = const char *(*)();
    auto version = reinterpret_cast<VersionFunction>(dlsym(handle, "qVersion"));
    std::string text = version ? version() : "unknown";
    dlclose(handle);
    return text;
}

// Same major version, and a minor version at least the one the probe was built with.
bool Compatible(const std::string &runtime, const std::string &built)
{
    int runMajor = 0, runMinor = 0, builtMajor = 0, builtMinor = 0;
    if (std::sscanf(runtime.c_str(), "%d.%d", &runMajor, &runMinor) != 2 ||
        std::sscanf(built.c_str(), "%d.%d", &builtMajor, &builtMinor) != 2)
        return false;
    return runMajor == builtMajor && runMinor >= builtMinor;
}

bool LaunchedDirectly()
{
    const char *pid = std::getenv("UIREMOTE_LAUNCH_PID");
    return pid && std::atol(pid) == static_cast<long>(getpid());
}

std::string ProgramName()
{
    char path[4096];
    const ssize_t length = readlink("/proc/self/exe", path, sizeof path - 1);
    return length > 0 ? std::string(path, static_cast<size_t>(length)) : std::string("this program");
}

__attribute__((constructor)) void StartProbe()
{
    const int builtMajor = UIRC_PROBE_QT_MAJOR;
    const int otherMajor = builtMajor == 5 ? 6 : 5;
    const std::string self = OwnPath();
    const std::string qtVersion = LoadedQtVersion(CoreLibrary(builtMajor));
    if (qtVersion.empty()) {
        const std::string otherVersion = LoadedQtVersion(CoreLibrary(otherMajor));
        if (!otherVersion.empty()) {
            DropPreload(self);
            GiveUp(ProgramName() + " uses Qt " + otherVersion + "; the probe was built with Qt " UIRC_PROBE_QT_VERSION);
        } else if (LaunchedDirectly()) {
            GiveUp(ProgramName() + " does not use Qt (the preload passes on to the programs it starts)");
        }
        return;
    }
    DropPreload(self);
    if (!Compatible(qtVersion, UIRC_PROBE_QT_VERSION)) {
        GiveUp(ProgramName() + " uses Qt " + qtVersion + "; the probe was built with Qt " UIRC_PROBE_QT_VERSION);
        return;
    }
    const auto slash = self.rfind('/');
    const std::string qtPart = (slash == std::string::npos ? std::string() : self.substr(0, slash + 1)) +
                               UIRC_PROBE_QT_PART;
    void *handle = dlopen(qtPart.c_str(), RTLD_NOW | RTLD_LOCAL);
    using StartFunction = void (*)();
    auto start = handle ? reinterpret_cast<StartFunction>(dlsym(handle, "uiremote_probe_start")) : nullptr;
    if (!start) {
        const char *error = dlerror();
        GiveUp("cannot load " + qtPart + (error ? std::string(": ") + error : std::string()));
        return;
    }
    start();
}

} // namespace
