// bench-client memory: resident memory of both servers idle, with clients, after a soak.

#include "BenchClient.h"

namespace bench {

// ---------------------------------------------------------------------------------------------
// Memory

struct Memory {
    long rssKb = 0, hwmKb = 0;
};

Memory ReadMemory(long pid)
{
    Memory memory;
    std::ifstream in("/proc/" + std::to_string(pid) + "/status");
    std::string line;
    while (std::getline(in, line)) {
        if (line.rfind("VmRSS:", 0) == 0)
            memory.rssKb = std::atol(line.c_str() + 6);
        else if (line.rfind("VmHWM:", 0) == 0)
            memory.hwmKb = std::atol(line.c_str() + 6);
    }
    if (!memory.rssKb)
        Die("cannot read /proc/" + std::to_string(pid) + "/status");
    return memory;
}

void Settle() { std::this_thread::sleep_for(std::chrono::milliseconds(500)); }

int MemoryBench(const Args &args)
{
    const int ports[2] = {int(args.Required("host")), int(args.Required("floor"))};
    const long pids[2] = {args.Required("host-pid"), args.Required("floor-pid")};
    const long clients = args.Int("clients", 100);
    const long soakClients = args.Int("soak-clients", 20);
    const long soakMessages = args.Int("soak-messages", 500);
    const std::vector<Kind> kinds = SmallKinds();

    struct Row {
        std::string state;
        Memory memory[2];
    };
    std::vector<Row> rows;
    auto snapshot = [&](const std::string &state) {
        Row row{state, {ReadMemory(pids[0]), ReadMemory(pids[1])}};
        rows.push_back(row);
    };
    snapshot("idle");

    // Connected clients, each having had one getpro answered.
    std::vector<std::unique_ptr<Session>> sessions;
    for (int s = 0; s < 2; ++s)
        for (long c = 0; c < clients; ++c) {
            sessions.emplace_back(new Session(ports[s]));
            sessions.back()->Call(kinds[0].variants[0]);
        }
    Settle();
    snapshot(std::to_string(clients) + " clients connected");
    sessions.clear();
    Settle();
    snapshot(std::to_string(clients) + " clients gone");

    // Soak: every client keeps one message in flight, cycling through the small set's controls.
    FlowResult soak[2];
    for (int s = 0; s < 2; ++s) {
        std::vector<Flow> flows(static_cast<size_t>(soakClients));
        for (Flow &flow : flows) {
            flow.fd = Connect(ports[s], true);
            for (long i = 0; i < soakMessages; ++i) {
                const Kind &kind = kinds[size_t(i) % kinds.size()];
                flow.requests.push_back(kind.variants[size_t(i / kinds.size()) % kind.variants.size()]);
            }
        }
        soak[s] = RunFlows(flows, 1, 1, 2000);
    }
    Settle();
    snapshot("after soak " + std::to_string(soakClients) + "x" + std::to_string(soakMessages));

    std::printf("Memory: VmRSS (VmHWM = peak) from /proc/<pid>/status; host = uiremote-host on the small scene,\n"
                "floor = echo-floor; soak = %ld clients x %ld messages (getpro, setpro, click, invokeret, failing "
                "lookup), one in flight each\n",
                soakClients, soakMessages);
    std::printf("%-26s | %10s %10s %10s | %10s %10s %10s\n", "state", "host RSS", "host HWM", "host +", "floor RSS",
                "floor HWM", "floor +");
    std::printf("%-26s | %10s %10s %10s | %10s %10s %10s\n", "", "KiB", "KiB", "KiB", "KiB", "KiB", "KiB");
    std::printf("%s\n", std::string(96, '-').c_str());
    for (const Row &row : rows) {
        std::printf("%-26s | %10ld %10ld %10ld | %10ld %10ld %10ld\n", row.state.c_str(), row.memory[0].rssKb,
                    row.memory[0].hwmKb, row.memory[0].rssKb - rows[0].memory[0].rssKb, row.memory[1].rssKb,
                    row.memory[1].hwmKb, row.memory[1].rssKb - rows[0].memory[1].rssKb);
    }
    const double hostPer = double(rows[1].memory[0].rssKb - rows[0].memory[0].rssKb) / clients;
    const double floorPer = double(rows[1].memory[1].rssKb - rows[0].memory[1].rssKb) / clients;
    std::printf("per connected client: host %.1f KiB, floor %.1f KiB", hostPer, floorPer);
    if (floorPer > 0.5)
        std::printf(" (%.2fx floor)", hostPer / floorPer);
    std::printf("\nsoak: host %ld/%ld ok in %.2f s (%.0f msgs/s), floor %ld/%ld ok in %.2f s (%.0f msgs/s)\n",
                soak[0].ok, soak[0].sent, soak[0].seconds, soak[0].ok / soak[0].seconds, soak[1].ok, soak[1].sent,
                soak[1].seconds, soak[1].ok / soak[1].seconds);
    const long expectedFailures = soak[0].sent / long(kinds.size()); // the failing lookups
    if (soak[0].replies != soak[0].sent || soak[0].failed != expectedFailures) {
        std::printf("  !! host soak: %ld replies to %ld messages, %ld failed (expected %ld)\n", soak[0].replies,
                    soak[0].sent, soak[0].failed, expectedFailures);
        return 1;
    }
    return 0;
}

} // namespace bench
