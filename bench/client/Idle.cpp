// bench-client idle: the throughput of one active client with many idle connections open beside
// it, against the same with none, on the host and on the floor.
//
// Every server wakes for its idle connections' descriptors on each turn of its event loop (Qt
// hands the whole set to poll()), so some cost per message grows with their number on both. The
// floor's ratio is that cost; what the host loses beyond it is its own per-message work that
// grows with the number of clients.

#include "BenchClient.h"

#include <sys/resource.h>

namespace bench {

namespace {

// Messages per second of one in-flight getpro round trips.
double Rate(Session &session, const std::string &request, long count)
{
    const auto start = Clock::now();
    for (long i = 0; i < count; ++i) {
        if (!Decode(session.Call(request)).ok)
            Die("a getpro failed");
    }
    return count / (MicrosSince(start) / 1e6);
}

// Idle connections, each accepted and answered once, so that the server watches all of them.
std::vector<std::unique_ptr<Session>> OpenIdle(int port, long count, const std::string &request)
{
    std::vector<std::unique_ptr<Session>> idle;
    idle.reserve(size_t(count));
    for (long i = 0; i < count; ++i) {
        idle.emplace_back(new Session(port));
        idle.back()->Call(request);
    }
    return idle;
}

double Median(std::vector<double> values)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[values.size() / 2];
}

} // namespace

int IdleBench(const Args &args)
{
    const int ports[2] = {int(args.Required("host")), int(args.Required("floor"))};
    const char *names[2] = {"uiremote-host", "echo-floor"};
    const long idleCount = args.Int("idle", 3000);
    const long messages = args.Int("messages", 3000);
    const long repeats = std::max(1L, args.Int("repeats", 3));
    const std::string request = SmallKinds()[0].variants[0]; // getpro

    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && limit.rlim_cur < limit.rlim_max) {
        limit.rlim_cur = limit.rlim_max;
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    if (::getrlimit(RLIMIT_NOFILE, &limit) == 0 && rlim_t(idleCount + 64) > limit.rlim_cur)
        Die("the descriptor limit (" + std::to_string(limit.rlim_cur) + ") is too low for " +
            std::to_string(idleCount) + " idle connections");

    // rates[server][0 idle | N idle], one value per repeat
    std::vector<double> rates[2][2];
    for (long r = 0; r < repeats; ++r) {
        for (int s = 0; s < 2; ++s) {
            Session active(ports[s]);
            Rate(active, request, 300); // warm-up
            rates[s][0].push_back(Rate(active, request, messages));
            {
                const auto idle = OpenIdle(ports[s], idleCount, request);
                Rate(active, request, 300);
                rates[s][1].push_back(Rate(active, request, messages));
            }
            Rate(active, request, 300); // the idle connections are closed: back to the first figure
        }
    }

    std::printf("One active client (getpro, one in flight, %ld messages per figure, median of %ld runs)\n", messages,
                repeats);
    std::printf("%-14s | %14s | %14s | %9s\n", "server", "0 idle msgs/s", (std::to_string(idleCount) + " idle msgs/s").c_str(),
                "ratio");
    std::printf("%s\n", std::string(60, '-').c_str());
    double ratio[2];
    for (int s = 0; s < 2; ++s) {
        const double none = Median(rates[s][0]), many = Median(rates[s][1]);
        ratio[s] = many / none;
        std::printf("%-14s | %14.0f | %14.0f | %8.2fx\n", names[s], none, many, ratio[s]);
    }
    std::printf("host ratio / floor ratio: %.2f\n", ratio[0] / ratio[1]);
    for (int s = 0; s < 2; ++s) {
        std::printf("%s runs:", names[s]);
        for (long r = 0; r < repeats; ++r)
            std::printf(" %.0f/%.0f", rates[s][0][size_t(r)], rates[s][1][size_t(r)]);
        std::printf("\n");
    }
    return 0;
}

} // namespace bench
