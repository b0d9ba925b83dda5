// uiremote-launch (uiremote-launch-qt6 for Qt 6 programs): runs a program with the probe of the
// same build preloaded, so that tests can drive its Qt Quick scene without any change to it.
//
//   uiremote-launch [--port N] [--listen ADDRESS] [--name-from-ids] [--root NAME] [--wait S]
//                   -- PROGRAM [ARGS...]
//
// The options become the probe's environment (UIREMOTE_PORT, UIREMOTE_LISTEN,
// UIREMOTE_NAME_FROM_IDS, UIREMOTE_ROOT, UIREMOTE_WAIT); the launcher then executes the program
// in its own place, so the program's exit status is the launcher's.

#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

const char kUsage[] =
    "usage: " UIRC_LAUNCH_NAME " [--port N] [--listen ADDRESS] [--name-from-ids] [--root NAME] [--wait S]\n"
    "         -- PROGRAM [ARGS...]\n"
    "Runs PROGRAM with the remote-control probe (" UIRC_LAUNCH_PROBE_NAME ") preloaded. The probe prints\n"
    "\"uiremote: listening on ADDRESS:PORT\" once clients can connect.\n"
    "  --port N          TCP port (default 34541)\n"
    "  --listen ADDRESS  address to listen on (default 127.0.0.1)\n"
    "  --name-from-ids   objects without objectName are found by their QML id\n"
    "  --root NAME       objectName or id of the root to serve (default: the first window)\n"
    "  --wait S          seconds to wait for a Qt Quick window (default 60)\n"
    "UIREMOTE_TOKEN in the environment makes clients authenticate first.\n";

std::string Directory(const std::string &path)
{
    const auto slash = path.rfind('/');
    return slash == std::string::npos ? std::string(".") : path.substr(0, slash);
}

// The probe beside this program: ../lib in the build tree, the library directory once installed.
std::string FindProbe()
{
    char self[4096];
    const ssize_t length = readlink("/proc/self/exe", self, sizeof self - 1);
    if (length <= 0)
        return std::string();
    const std::string bin = Directory(std::string(self, static_cast<size_t>(length)));
    for (const std::string &candidate : {bin + "/" UIRC_LAUNCH_PROBE_RELATIVE, bin + "/../lib/" UIRC_LAUNCH_PROBE_NAME}) {
        char resolved[4096];
        if (realpath(candidate.c_str(), resolved) && access(resolved, R_OK) == 0)
            return resolved;
    }
    return std::string();
}

int Fail(const std::string &message)
{
    std::fprintf(stderr, UIRC_LAUNCH_NAME ": %s\n%s", message.c_str(), kUsage);
    return 2;
}

} // namespace

int main(int argc, char *argv[])
{
    struct Option { const char *flag; const char *variable; bool takesValue; };
    const Option options[] = {
        {"--port", "UIREMOTE_PORT", true},       {"--listen", "UIREMOTE_LISTEN", true},
        {"--root", "UIREMOTE_ROOT", true},       {"--wait", "UIREMOTE_WAIT", true},
        {"--name-from-ids", "UIREMOTE_NAME_FROM_IDS", false},
    };
    int index = 1;
    for (; index < argc; ++index) {
        const std::string arg = argv[index];
        if (arg == "--") {
            ++index;
            break;
        }
        if (arg == "-h" || arg == "--help") {
            std::fputs(kUsage, stdout);
            return 0;
        }
        if (arg.rfind("-", 0) != 0)
            break; // the program, without "--"
        const Option *option = nullptr;
        for (const Option &candidate : options) {
            if (arg == candidate.flag)
                option = &candidate;
        }
        if (!option)
            return Fail("unknown option " + arg);
        if (option->takesValue && index + 1 >= argc)
            return Fail(arg + " needs a value");
        setenv(option->variable, option->takesValue ? argv[++index] : "1", 1);
    }
    if (index >= argc)
        return Fail("no program given");

    const std::string probe = FindProbe();
    if (probe.empty())
        return Fail("cannot find " UIRC_LAUNCH_PROBE_NAME " beside " + std::string(argv[0]));
    const char *preload = std::getenv("LD_PRELOAD");
    const std::string value = probe + (preload && *preload ? ":" + std::string(preload) : std::string());
    setenv("LD_PRELOAD", value.c_str(), 1);
    // The probe tells this very process (after exec) apart from the programs it starts.
    setenv("UIREMOTE_LAUNCH_PID", std::to_string(getpid()).c_str(), 1);

    execvp(argv[index], argv + index);
    std::fprintf(stderr, UIRC_LAUNCH_NAME ": cannot run %s: %s\n", argv[index], std::strerror(errno));
    return 127;
}
