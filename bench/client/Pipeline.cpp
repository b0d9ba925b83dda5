// bench-client pipeline: pipelined flows under one poll() loop, replies per second, losses, order.

#include "BenchClient.h"

namespace bench {

int Pipeline(const Args &args)
{
    // Servers: the host and the floor.
    const std::vector<int> ports = {int(args.Required("host")), int(args.Required("floor"))};
    const std::vector<std::string> names = {"host", "floor"};
    const long messages = args.Int("messages", 10000);
    const long manyClients = args.Int("clients", 10);
    const size_t chunk = size_t(std::max(1L, args.Int("chunk", 10)));
    const long window = args.Int("window", 100);
    const int repeats = int(std::max(1L, args.Int("repeats", 3)));

    struct Mode {
        std::string label;
        long clients;
        long messages;
        size_t chunk;
        long window;
        bool quickAck;
    };
    const std::string windowed = "chunks of " + std::to_string(chunk) + ", <=" + std::to_string(window) + " in flight";
    const std::vector<Mode> modes = {
        {"all at once", 1, messages, size_t(messages), 0, false},
        {"all at once", manyClients, messages, size_t(messages), 0, false},
        {windowed, 1, messages, chunk, window, false},
        {windowed, manyClients, messages, chunk, window, false},
        {windowed + ", quickack", 1, messages, chunk, window, true},
        {windowed + ", quickack", manyClients, messages, chunk, window, true},
        {"3 per write, wait for the 3", 1, 60, 3, 3, false},
        {"3 per write, quickack", 1, 60, 3, 3, true},
    };
    std::printf("Pipelined throughput: invokeret echo messages, replies checked (each once, in order); median run of\n"
                "up to %d by ok replies/s (one run when a run takes over a second); fail = {\"result\": false} "
                "replies,\nlost = messages without a successful reply\n",
                repeats);
    std::printf("%-39s %7s %6s | %-13s %8s %6s %5s %5s %5s %8s | %7s | %s\n", "sending", "clients", "msgs", "server",
                "ok/s", "ok", "fail", "lost", "order", "ms", "x floor", "lost in each run");
    std::printf("%s\n", std::string(141, '-').c_str());
    int status = 0;
    double worstChunked = 0; // the lowest host x floor of the chunked rows without quickack
    for (const Mode &mode : modes) {
        std::vector<FlowResult> median(ports.size());
        std::vector<std::string> lostRuns(ports.size());
        for (size_t s = 0; s < ports.size(); ++s) {
            std::vector<FlowResult> runs;
            for (int r = 0; r < repeats; ++r) {
                std::vector<Flow> flows = EchoFlows(ports[s], mode.clients, mode.messages);
                runs.push_back(RunFlows(flows, mode.chunk, mode.window, 400, mode.quickAck));
                lostRuns[s] += (r ? " " : "") + std::to_string(runs.back().lost);
                if (runs.back().orderErrors)
                    status = 1;
                std::this_thread::sleep_for(std::chrono::milliseconds(50)); // let the server drop the sockets
                if (runs.back().seconds > 1.0)
                    break;
            }
            std::sort(runs.begin(), runs.end(),
                      [](const FlowResult &a, const FlowResult &b) { return a.ok / a.seconds < b.ok / b.seconds; });
            median[s] = runs[runs.size() / 2];
        }
        const double floorRate = median[1].ok / median[1].seconds;
        if (mode.label == windowed) {
            const double ratio = (median[0].ok / median[0].seconds) / floorRate;
            worstChunked = worstChunked == 0 ? ratio : std::min(worstChunked, ratio);
        }
        for (size_t s = 0; s < ports.size(); ++s) {
            const FlowResult &r = median[s];
            const double rate = r.ok / r.seconds;
            std::printf("%-39s %7ld %6ld | %-13s %8.0f %6ld %5ld %5ld %5ld %8.1f | %7s | %s\n", mode.label.c_str(),
                        mode.clients, mode.messages, names[s].c_str(), rate, r.ok, r.failed, r.lost, r.orderErrors,
                        r.seconds * 1000, s == 1 ? "" : (Fixed(rate / floorRate, 2) + "x").c_str(),
                        lostRuns[s].c_str());
        }
    }
    std::printf("pipelined throughput (%s) is at least %.2fx the floor (target: at least 0.6x): %s\n",
                windowed.c_str(), worstChunked, worstChunked >= 0.6 ? "met" : "NOT met");
    std::printf("x floor = ok/s / floor ok/s. A message that TCP splits across two reads is lost (each part is\n"
                "answered false); a split inside a string also swallows the rest of that read into one broken\n"
                "message, so one split can lose many messages. order = replies out of order or repeated (must be 0).\n"
                "quickack = the client sets TCP_QUICKACK before every read (acknowledges at once).\n");
    return status;
}

} // namespace bench
