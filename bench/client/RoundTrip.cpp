// bench-client freeport, requests, record and roundtrip: one request in flight at a time.

#include "BenchClient.h"

namespace bench {

// ---------------------------------------------------------------------------------------------
// Subcommands

int FreePort()
{
    const int fd = ::socket(AF_INET6, SOCK_STREAM, 0);
    sockaddr_in6 address{};
    address.sin6_family = AF_INET6;
    address.sin6_addr = in6addr_any; // dual stack, as the host listens
    socklen_t size = sizeof address;
    if (fd < 0 || ::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &size) != 0)
        Die("no free port");
    std::printf("%d\n", ntohs(address.sin6_port));
    ::close(fd);
    return 0;
}

int PrintRequests(const Args &args)
{
    for (const Kind &kind : KindsOf(args))
        for (const std::string &variant : kind.variants)
            std::printf("%s\t%s\n", kind.name.c_str(), variant.c_str());
    return 0;
}

void AppendRecord(std::string &out, const std::string &bytes)
{
    const uint32_t size = uint32_t(bytes.size());
    out.append(reinterpret_cast<const char *>(&size), 4);
    out.append(bytes);
}

int Record(const Args &args)
{
    Session session(int(args.Required("port")));
    std::string table;
    int unexpected = 0;
    for (const Kind &kind : KindsOf(args)) {
        for (const std::string &variant : kind.variants) {
            const std::string reply = session.Call(variant);
            if (Decode(reply).ok != kind.expectOk) {
                std::fprintf(stderr, "unexpected reply to %s: %s\n", variant.c_str(), reply.c_str());
                ++unexpected;
            }
            AppendRecord(table, variant);
            AppendRecord(table, reply + "\n"); // indented replies end with a newline
        }
    }
    const long echoes = args.Int("echo", 0);
    for (long i = 0; i < echoes; ++i) {
        const std::string request = EchoRequest(i);
        const std::string reply = session.Call(request);
        const Reply decoded = Decode(reply);
        if (!decoded.ok || !decoded.hasInt || decoded.value != i) {
            std::fprintf(stderr, "unexpected reply to %s: %s\n", request.c_str(), reply.c_str());
            ++unexpected;
        }
        AppendRecord(table, request);
        AppendRecord(table, reply + "\n");
    }
    std::ofstream out(args.Str("out"), std::ios::binary);
    out << table;
    if (!out)
        Die("cannot write " + args.Str("out"));
    return unexpected == 0 ? 0 : 1;
}

// Sequential round trips; blocks of each (kind, server) interleave so drifts of the machine hit
// both servers alike.
int RoundTrip(const Args &args)
{
    std::vector<Kind> kinds = SmallKinds();
    if (args.Has("kinds")) { // a comma-separated subset, for experiments
        const std::string wanted = "," + args.Str("kinds") + ",";
        kinds.erase(std::remove_if(kinds.begin(), kinds.end(),
                                   [&](const Kind &k) { return wanted.find("," + k.name + ",") == std::string::npos; }),
                    kinds.end());
    }
    const long samples = args.Int("samples", 2000);
    const long block = std::max(1L, args.Int("block", 200));
    const std::map<std::string, double> inProcess = ReadInProcess(args.Str("inproc"));
    Session host(int(args.Required("host")));
    Session floor(int(args.Required("floor")));
    Session *servers[2] = {&floor, &host};

    std::vector<std::vector<double>> latency(kinds.size() * 2);
    std::vector<long> wrong(kinds.size() * 2, 0);
    std::vector<size_t> turn(kinds.size() * 2, 0);
    auto run = [&](size_t k, int s, long count, bool keep) {
        const Kind &kind = kinds[k];
        const size_t cell = k * 2 + size_t(s);
        for (long i = 0; i < count; ++i) {
            const std::string &request = kind.variants[turn[cell]++ % kind.variants.size()];
            const auto start = Clock::now();
            const std::string reply = servers[s]->Call(request);
            const double us = MicrosSince(start);
            if (!keep)
                continue;
            latency[cell].push_back(us);
            if (Decode(reply).ok != kind.expectOk)
                ++wrong[cell];
        }
    };
    for (size_t k = 0; k < kinds.size(); ++k)
        for (int s = 0; s < 2; ++s)
            run(k, s, 200, false); // warm-up
    const long rounds = (samples + block - 1) / block;
    for (long r = 0; r < rounds; ++r) {
        for (size_t k = 0; k < kinds.size(); ++k) {
            const int first = int(r % 2);
            run(k, first, block, true);
            run(k, 1 - first, block, true);
        }
    }

    std::printf("Round trip over loopback: one connection per server, one message in flight, %ld samples per cell\n",
                rounds * block);
    std::printf("%-12s | %9s %9s %9s %9s | %9s %9s %9s | %8s %8s %8s\n", "control", "host p50", "host p99",
                "host/s", "in-proc", "floor p50", "floor p99", "floor/s", "added", "p50 x", "p99 x");
    std::printf("%-12s | %9s %9s %9s %9s | %9s %9s %9s | %8s %8s %8s\n", "", "us", "us", "msgs", "us", "us", "us",
                "msgs", "p50 us", "floor", "floor");
    std::printf("%s\n", std::string(116, '-').c_str());
    int status = 0;
    double getproRatio = 0;
    for (size_t k = 0; k < kinds.size(); ++k) {
        const Stats h = Summarise(latency[k * 2 + 1]);
        const Stats f = Summarise(latency[k * 2]);
        const auto it = inProcess.find(kinds[k].name);
        const std::string inproc = it == inProcess.end() ? "-" : Fixed(it->second);
        std::printf("%-12s | %9s %9s %9.0f %9s | %9s %9s %9.0f | %8s %7.2fx %7.2fx\n", kinds[k].name.c_str(),
                    Fixed(h.p50).c_str(), Fixed(h.p99).c_str(), 1e6 / h.mean, inproc.c_str(), Fixed(f.p50).c_str(),
                    Fixed(f.p99).c_str(), 1e6 / f.mean, Fixed(h.p50 - f.p50).c_str(), h.p50 / f.p50, h.p99 / f.p99);
        if (kinds[k].name == "getpro")
            getproRatio = h.p50 / f.p50;
        if (wrong[k * 2 + 1] || wrong[k * 2]) {
            std::printf("  !! %s: %ld unexpected host replies, %ld unexpected floor replies\n", kinds[k].name.c_str(),
                        wrong[k * 2 + 1], wrong[k * 2]);
            status = 1;
        }
    }
    std::printf("getpro p50 is %.2fx the floor (target: within 1.25x): %s\n", getproRatio,
                getproRatio <= 1.25 ? "met" : "NOT met");
    std::printf("msgs/s = 1 / mean round trip; in-proc = controlObject() on the same scene (no JSON, no socket,\n"
                "no event loop turn); added = host p50 - floor p50, the remote control's share of a round trip.\n");
    return status;
}

} // namespace bench
