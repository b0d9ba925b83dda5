// bench-client: the measuring client of the network benchmarks (plain POSIX sockets, no Qt).
//
// The same code drives uiremote-host and echo-floor, so whatever the client costs appears in
// both figures and the ratio shows what the remote control adds.
//
//   bench-client freeport
//       prints a free TCP port
//   bench-client requests small|lookup [--path PATH]
//       prints the requests of a set, one "name<TAB>json" line each (input of scene-lookup)
//   bench-client record --port P --out FILE [--set small|lookup] [--path PATH] [--echo N]
//       sends every request of the set (and N echo requests) once, one in flight, checks the
//       host's replies and writes the reply table that echo-floor answers from
//   bench-client roundtrip --host P --floor P [--samples N] [--block N] [--inproc FILE] [--kinds a,b]
//       p50/p99 round trip and messages per second per control, host against floor
//   bench-client pipeline --host P --floor P [--messages N] [--clients N]
//                         [--chunk N] [--window N] [--repeats N]
//       pipelined invokeret echo messages: replies per second, losses, order
//   bench-client lookup --header | --host P --floor P --path PATH --shape S --objects N
//                       [--inproc FILE] [--plain US] [--budget-ms N]
//       one table row per request of a generated scene
//   bench-client memory --host P --host-pid PID --floor P --floor-pid PID [--clients N]
//                       [--soak-clients N] [--soak-messages N]
//       VmRSS of both servers idle, with N clients connected, after they left, after a soak
//   bench-client genscene --shape wide|balanced --objects N --out FILE
//       writes a QML scene and prints "objects=<named items> path=<dotted path of the last item>"
//
// Replies carry no terminator: they are cut out of the byte stream by brace depth outside strings.
// Requests are compact JSON, each sent in one write.

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <arpa/inet.h>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using Clock = std::chrono::steady_clock;

double MicrosSince(Clock::time_point start, Clock::time_point end = Clock::now())
{
    return std::chrono::duration<double, std::micro>(end - start).count();
}

[[noreturn]] void Die(const std::string &what)
{
    std::fprintf(stderr, "bench-client: %s\n", what.c_str());
    std::exit(1);
}

// ---------------------------------------------------------------------------------------------
// Command line

struct Args {
    std::map<std::string, std::string> values;
    bool Has(const std::string &key) const { return values.count(key) != 0; }
    std::string Str(const std::string &key, const std::string &fallback = std::string()) const
    {
        const auto it = values.find(key);
        return it == values.end() ? fallback : it->second;
    }
    long Int(const std::string &key, long fallback) const
    {
        const auto it = values.find(key);
        return it == values.end() ? fallback : std::strtol(it->second.c_str(), nullptr, 10);
    }
    long Required(const std::string &key) const
    {
        if (!Has(key))
            Die("missing --" + key);
        return Int(key, 0);
    }
};

Args ParseArgs(int argc, char **argv, int first)
{
    Args args;
    for (int i = first; i < argc; ++i) {
        std::string word = argv[i];
        if (word.rfind("--", 0) != 0)
            Die("unexpected argument " + word);
        word = word.substr(2);
        if (i + 1 < argc && std::strncmp(argv[i + 1], "--", 2) != 0)
            args.values[word] = argv[++i];
        else
            args.values[word] = "1";
    }
    return args;
}

// ---------------------------------------------------------------------------------------------
// Sockets and reply framing

int Connect(int port, bool nonBlocking = false)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    if (fd < 0)
        Die(std::string("socket: ") + std::strerror(errno));
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(uint16_t(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        Die("connect to port " + std::to_string(port) + ": " + std::strerror(errno));
    const int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    if (nonBlocking)
        ::fcntl(fd, F_SETFL, ::fcntl(fd, F_GETFL) | O_NONBLOCK);
    return fd;
}

void SendAll(int fd, const std::string &bytes)
{
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t n = ::send(fd, bytes.data() + done, bytes.size() - done, MSG_NOSIGNAL);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            Die(std::string("send: ") + std::strerror(errno));
        done += size_t(n);
    }
}

// Cuts concatenated JSON objects out of a byte stream: depth counting outside strings, with
// escapes; state is kept between feeds.
class ReplyScanner {
public:
    template <typename Sink>
    void Feed(const char *data, size_t size, Sink &&sink)
    {
        for (size_t i = 0; i < size; ++i) {
            const char c = data[i];
            if (m_depth == 0) {
                if (c == '{') {
                    m_current.assign(1, c);
                    m_depth = 1;
                }
                continue; // whitespace between replies
            }
            m_current.push_back(c);
            if (m_escape) {
                m_escape = false;
            } else if (m_inString) {
                if (c == '\\')
                    m_escape = true;
                else if (c == '"')
                    m_inString = false;
            } else if (c == '"') {
                m_inString = true;
            } else if (c == '{') {
                ++m_depth;
            } else if (c == '}') {
                if (--m_depth == 0)
                    sink(m_current);
            }
        }
    }

private:
    std::string m_current;
    int m_depth = 0;
    bool m_inString = false;
    bool m_escape = false;
};

// What the benchmarks need of a reply: the success flag and an integer value if any.
struct Reply {
    bool ok = false;
    bool hasInt = false;
    long value = 0;
};

Reply Decode(const std::string &text)
{
    Reply reply;
    reply.ok = text.find("\"result\": true") != std::string::npos;
    const size_t at = text.find("\"value\": ");
    if (at != std::string::npos) {
        const char *start = text.c_str() + at + 9;
        char *end = nullptr;
        const long value = std::strtol(start, &end, 10);
        if (end != start && (*end == '\n' || *end == ' ' || *end == '}')) {
            reply.hasInt = true;
            reply.value = value;
        }
    }
    return reply;
}

// One request, one reply, one in flight (blocking socket).
class Session {
public:
    explicit Session(int port) : m_fd(Connect(port)) {}
    ~Session() { ::close(m_fd); }
    Session(const Session &) = delete;
    Session &operator=(const Session &) = delete;

    std::string Call(const std::string &request)
    {
        SendAll(m_fd, request);
        std::string reply;
        bool got = false;
        char buffer[65536];
        while (!got) {
            const ssize_t n = ::recv(m_fd, buffer, sizeof buffer, 0);
            if (n < 0 && errno == EINTR)
                continue;
            if (n <= 0)
                Die("connection closed while waiting for a reply");
            m_scanner.Feed(buffer, size_t(n), [&](const std::string &object) {
                if (got)
                    Die("more than one reply to one request");
                reply = object;
                got = true;
            });
        }
        return reply;
    }

private:
    int m_fd;
    ReplyScanner m_scanner;
};

// ---------------------------------------------------------------------------------------------
// Request sets (the single source of the request bytes)

struct Kind {
    std::string name;
    std::vector<std::string> variants; // sent in turn
    bool expectOk;
};

std::string EchoRequest(long value)
{
    return "{\"invokeret\":{\"objname\":\"main.logic\",\"method\":\"echo\",\"mthargs\":[" + std::to_string(value) +
           "]}}";
}

std::vector<Kind> SmallKinds()
{
    return {
        {"getpro", {"{\"getpro\":{\"objname\":\"main.title\",\"property\":\"text\"}}"}, true},
        {"setpro",
         {"{\"setpro\":{\"objname\":\"main.box\",\"property\":\"level\",\"propval\":1}}",
          "{\"setpro\":{\"objname\":\"main.box\",\"property\":\"level\",\"propval\":2}}"},
         true},
        {"click", {"{\"click\":{\"objname\":\"main.okButton\",\"winobjname\":\"mainWindow\"}}"}, true},
        {"invokeret", {EchoRequest(7)}, true},
        {"lookup-fail", {"{\"getpro\":{\"objname\":\"main.nosuch\",\"property\":\"text\"}}"}, false},
    };
}

std::vector<Kind> LookupKinds(const std::string &path)
{
    return {
        {"getpro-last", {"{\"getpro\":{\"objname\":\"" + path + "\",\"property\":\"objectName\"}}"}, true},
        {"lookup-fail", {"{\"getpro\":{\"objname\":\"nosuch\",\"property\":\"objectName\"}}"}, false},
    };
}

std::vector<Kind> KindsOf(const Args &args)
{
    const std::string set = args.Str("set", "small");
    if (set == "small")
        return SmallKinds();
    if (set == "lookup")
        return LookupKinds(args.Str("path"));
    Die("unknown request set " + set);
}

// "name<TAB>microseconds" lines written by scene-lookup.
std::map<std::string, double> ReadInProcess(const std::string &path)
{
    std::map<std::string, double> figures;
    if (path.empty())
        return figures;
    std::ifstream in(path);
    std::string line;
    while (std::getline(in, line)) {
        const size_t tab = line.find('\t');
        if (tab != std::string::npos)
            figures[line.substr(0, tab)] = std::atof(line.c_str() + tab + 1);
    }
    return figures;
}

// ---------------------------------------------------------------------------------------------
// Statistics

struct Stats {
    double p50 = 0, p99 = 0, mean = 0;
    size_t count = 0;
};

Stats Summarise(std::vector<double> samples)
{
    Stats stats;
    if (samples.empty())
        return stats;
    std::sort(samples.begin(), samples.end());
    auto at = [&](double q) {
        const size_t index = std::min(samples.size() - 1, size_t(std::ceil(q * samples.size())) - 1);
        return samples[index];
    };
    stats.p50 = at(0.50);
    stats.p99 = at(0.99);
    double sum = 0;
    for (double s : samples)
        sum += s;
    stats.mean = sum / samples.size();
    stats.count = samples.size();
    return stats;
}

std::string Fixed(double value, int decimals = 1)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

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
    std::printf("getpro p50 is %.2fx the floor (target: within 1.5x): %s\n", getproRatio,
                getproRatio <= 1.5 ? "met" : "NOT met");
    std::printf("msgs/s = 1 / mean round trip; in-proc = controlObject() on the same scene (no JSON, no socket,\n"
                "no event loop turn); added = host p50 - floor p50, the remote control's share of a round trip.\n");
    return status;
}

// ---------------------------------------------------------------------------------------------
// Pipelined flows: non-blocking sockets under one poll() loop

struct Flow {
    int fd = -1;
    std::vector<std::string> requests;
    std::vector<long> seqs;      // the value each request's reply must carry (echo), in order
    size_t queued = 0;           // requests put into the output buffer
    std::string out;
    size_t outPos = 0;
    long replies = 0, ok = 0, failed = 0, orderErrors = 0;
    size_t orderPos = 0;         // next position in seqs a successful reply may match
    bool done = false;
    ReplyScanner scanner;
};

struct FlowResult {
    long sent = 0, replies = 0, ok = 0, failed = 0, lost = 0, orderErrors = 0;
    double seconds = 0;
};

// chunk: messages per write; window: most messages in flight per connection (0: no limit);
// quickAck: acknowledge received data at once (TCP_QUICKACK before every read), so a server
// whose sockets use Nagle's algorithm is not left waiting for a delayed acknowledgement.
// A flow ends when its last request is answered with success, or when the whole run has been
// quiet for idleMs after everything was sent (lost messages never get a reply).
FlowResult RunFlows(std::vector<Flow> &flows, size_t chunk, long window, int idleMs, bool quickAck = false)
{
    FlowResult result;
    const auto start = Clock::now();
    auto lastReply = start;
    auto lastActivity = start;
    std::vector<pollfd> fds(flows.size());
    char buffer[262144];
    for (;;) {
        bool allSent = true, allDone = true;
        for (size_t i = 0; i < flows.size(); ++i) {
            Flow &flow = flows[i];
            // One write per chunk; more chunks while the window allows and nothing is left over.
            for (;;) {
                while (flow.outPos < flow.out.size()) {
                    const ssize_t n =
                        ::send(flow.fd, flow.out.data() + flow.outPos, flow.out.size() - flow.outPos, MSG_NOSIGNAL);
                    if (n > 0) {
                        flow.outPos += size_t(n);
                        continue;
                    }
                    if (n < 0 && (errno == EAGAIN || errno == EWOULDBLOCK || errno == EINTR))
                        break;
                    Die(std::string("send: ") + std::strerror(errno));
                }
                if (flow.outPos < flow.out.size() || flow.queued == flow.requests.size())
                    break;
                const long inFlight = std::max(0L, long(flow.queued) - flow.replies);
                const size_t next = std::min(chunk, flow.requests.size() - flow.queued);
                if (window > 0 && inFlight + long(next) > window)
                    break;
                flow.out.clear();
                flow.outPos = 0;
                for (size_t n = 0; n < next; ++n)
                    flow.out += flow.requests[flow.queued++];
            }
            if (flow.outPos < flow.out.size() || flow.queued < flow.requests.size())
                allSent = false;
            if (!flow.done)
                allDone = false;
            fds[i].fd = flow.fd;
            fds[i].events = short(POLLIN | (flow.outPos < flow.out.size() ? POLLOUT : 0));
            fds[i].revents = 0;
        }
        if (allDone)
            break;
        if (allSent && MicrosSince(lastActivity) > idleMs * 1000.0)
            break;
        const int ready = ::poll(fds.data(), fds.size(), 20);
        if (ready < 0 && errno != EINTR)
            Die(std::string("poll: ") + std::strerror(errno));
        for (size_t i = 0; i < flows.size(); ++i) {
            if (!(fds[i].revents & (POLLIN | POLLHUP | POLLERR)))
                continue;
            Flow &flow = flows[i];
            if (quickAck) {
                const int one = 1;
                ::setsockopt(flow.fd, IPPROTO_TCP, TCP_QUICKACK, &one, sizeof one);
            }
            const ssize_t n = ::recv(flow.fd, buffer, sizeof buffer, 0);
            if (n <= 0) {
                if (n < 0 && (errno == EAGAIN || errno == EINTR))
                    continue;
                Die("connection closed by the server");
            }
            lastActivity = Clock::now();
            flow.scanner.Feed(buffer, size_t(n), [&](const std::string &object) {
                lastReply = lastActivity;
                ++flow.replies;
                const Reply reply = Decode(object);
                if (!reply.ok) {
                    ++flow.failed;
                    return;
                }
                ++flow.ok;
                if (flow.seqs.empty()) {
                    if (flow.replies >= long(flow.requests.size()))
                        flow.done = true;
                    return;
                }
                // Each successful reply must carry the value of a later request than the one
                // before it: a reply comes back once, in order, or it is an order error.
                size_t at = flow.orderPos;
                while (at < flow.seqs.size() && (!reply.hasInt || flow.seqs[at] != reply.value))
                    ++at;
                if (at == flow.seqs.size()) {
                    ++flow.orderErrors;
                    return;
                }
                flow.orderPos = at + 1;
                if (at + 1 == flow.seqs.size())
                    flow.done = true;
            });
        }
    }
    result.seconds = std::chrono::duration<double>(lastReply - start).count();
    for (Flow &flow : flows) {
        result.sent += long(flow.queued);
        result.replies += flow.replies;
        result.ok += flow.ok;
        result.failed += flow.failed;
        result.orderErrors += flow.orderErrors;
        result.lost += long(flow.queued) - flow.ok;
        ::close(flow.fd);
        flow.fd = -1;
    }
    return result;
}

std::vector<Flow> EchoFlows(int port, long clients, long messages)
{
    std::vector<Flow> flows(static_cast<size_t>(clients));
    const long each = messages / clients;
    for (long c = 0; c < clients; ++c) {
        Flow &flow = flows[size_t(c)];
        flow.fd = Connect(port, true);
        for (long i = 0; i < each; ++i) {
            flow.seqs.push_back(c * each + i);
            flow.requests.push_back(EchoRequest(c * each + i));
        }
    }
    return flows;
}

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
        for (size_t s = 0; s < ports.size(); ++s) {
            const FlowResult &r = median[s];
            const double rate = r.ok / r.seconds;
            std::printf("%-39s %7ld %6ld | %-13s %8.0f %6ld %5ld %5ld %5ld %8.1f | %7s | %s\n", mode.label.c_str(),
                        mode.clients, mode.messages, names[s].c_str(), rate, r.ok, r.failed, r.lost, r.orderErrors,
                        r.seconds * 1000, s == 1 ? "" : (Fixed(rate / floorRate, 2) + "x").c_str(),
                        lostRuns[s].c_str());
        }
    }
    std::printf("x floor = ok/s / floor ok/s. A message that TCP splits across two reads is lost (each part is\n"
                "answered false); a split inside a string also swallows the rest of that read into one broken\n"
                "message, so one split can lose many messages. order = replies out of order or repeated (must be 0).\n"
                "quickack = the client sets TCP_QUICKACK before every read (acknowledges at once).\n");
    return status;
}

// ---------------------------------------------------------------------------------------------
// Lookup scaling: one row per scene

int Lookup(const Args &args)
{
    if (args.Has("header")) {
        std::printf("Lookup scaling: getpro of the last item (every item visited) and a failing lookup, round trip\n");
        std::printf("%-9s %8s %-12s | %10s %10s %10s | %10s %8s | %10s %8s\n", "shape", "objects", "request", "host p50",
                    "host p99", "in-proc", "floor p50", "x floor", "QObject", "samples");
        std::printf("%-9s %8s %-12s | %10s %10s %10s | %10s %8s | %10s %8s\n", "", "", "", "us", "us", "us", "us", "",
                    "tree us", "");
        std::printf("%s\n", std::string(112, '-').c_str());
        return 0;
    }
    const std::vector<Kind> kinds = LookupKinds(args.Str("path"));
    const std::map<std::string, double> inProcess = ReadInProcess(args.Str("inproc"));
    const double budgetUs = args.Int("budget-ms", 1500) * 1000.0;
    Session host(int(args.Required("host")));
    Session floor(int(args.Required("floor")));
    int status = 0;
    for (const Kind &kind : kinds) {
        const std::string &request = kind.variants.front();
        std::vector<double> h, f;
        for (int i = 0; i < 3; ++i) // warm-up
            host.Call(request), floor.Call(request);
        double spent = 0;
        long wrong = 0;
        while ((h.size() < 5 || spent < budgetUs) && h.size() < 2000) {
            for (int i = 0; i < 10; ++i) {
                auto start = Clock::now();
                const std::string reply = host.Call(request);
                const double us = MicrosSince(start);
                h.push_back(us);
                spent += us;
                if (Decode(reply).ok != kind.expectOk)
                    ++wrong;
                start = Clock::now();
                floor.Call(request);
                f.push_back(MicrosSince(start));
            }
        }
        const Stats hs = Summarise(h), fs = Summarise(f);
        const auto it = inProcess.find(kind.name);
        const std::string plain = kind.name == "getpro-last" ? args.Str("plain", "-") : "-";
        std::printf("%-9s %8ld %-12s | %10s %10s %10s | %10s %7.1fx | %10s %8zu\n", args.Str("shape").c_str(),
                    args.Int("objects", 0), kind.name.c_str(), Fixed(hs.p50).c_str(), Fixed(hs.p99).c_str(),
                    it == inProcess.end() ? "-" : Fixed(it->second).c_str(), Fixed(fs.p50).c_str(), hs.p50 / fs.p50,
                    plain.c_str(), hs.count);
        if (wrong) {
            std::printf("  !! %ld unexpected replies\n", wrong);
            status = 1;
        }
    }
    std::fflush(stdout);
    return status;
}

// A generated scene: items named so that the last one is found only after every other item
// has been visited.
int GenScene(const Args &args)
{
    const std::string shape = args.Str("shape", "wide");
    const long objects = args.Required("objects");
    std::ostringstream qml;
    qml << "// generated by bench-client genscene --shape " << shape << " --objects " << objects << "\n"
        << "import QtQuick 2.15\nimport QtQuick.Window 2.15\n\n"
        << "Window {\n    objectName: \"mainWindow\"\n    width: 320\n    height: 240\n    visible: true\n\n"
        << "    Item {\n        objectName: \"o0\"\n        visible: false\n";
    long named = 1;
    std::string path = "o0";
    if (shape == "wide") {
        // A Repeater's delegates are visual children of the Repeater's parent.
        qml << "        Repeater {\n            model: " << objects - 1 << "\n"
            << "            Item { objectName: \"o\" + (index + 1) }\n        }\n";
        named = objects;
        path += ".o" + std::to_string(objects - 1);
    } else if (shape == "balanced") {
        // Nested Repeaters, ten delegates per level: level k items are "L<k>_<index>".
        int levels = 0;
        long capacity = 1;
        while (capacity * 10 <= objects) {
            capacity *= 10;
            ++levels;
            named += capacity;
        }
        std::string indent = "        ";
        for (int level = 1; level <= levels; ++level) {
            qml << indent << "Repeater {\n" << indent << "    model: 10\n"
                << indent << "    Item {\n" << indent << "        objectName: \"L" << level << "_\" + index\n";
            indent += "        ";
            path += ".L" + std::to_string(level) + "_9";
        }
        for (int level = levels; level >= 1; --level) {
            indent.resize(indent.size() - 8);
            qml << indent << "    }\n" << indent << "}\n";
        }
    } else {
        Die("unknown shape " + shape);
    }
    qml << "    }\n}\n";
    std::ofstream out(args.Str("out"));
    out << qml.str();
    if (!out)
        Die("cannot write " + args.Str("out"));
    std::printf("objects=%ld path=%s\n", named, path.c_str());
    return 0;
}

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

} // namespace

int main(int argc, char **argv)
{
    if (argc < 2)
        Die("usage: bench-client freeport|requests|record|roundtrip|pipeline|lookup|memory|genscene [--options]");
    const std::string command = argv[1];
    if (command == "requests") {
        Args args = ParseArgs(argc, argv, argc > 2 && argv[2][0] != '-' ? 3 : 2);
        if (argc > 2 && argv[2][0] != '-')
            args.values["set"] = argv[2];
        return PrintRequests(args);
    }
    const Args args = ParseArgs(argc, argv, 2);
    if (command == "freeport")
        return FreePort();
    if (command == "record")
        return Record(args);
    if (command == "roundtrip")
        return RoundTrip(args);
    if (command == "pipeline")
        return Pipeline(args);
    if (command == "lookup")
        return Lookup(args);
    if (command == "memory")
        return MemoryBench(args);
    if (command == "genscene")
        return GenScene(args);
    Die("unknown command " + command);
}
