#pragma once
// The shared parts of bench-client: command line, sockets and reply framing, one-in-flight
// sessions, the request sets, statistics, and the pipelined flows. Plain POSIX, no Qt.

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

namespace bench {

using Clock = std::chrono::steady_clock;

inline double MicrosSince(Clock::time_point start, Clock::time_point end = Clock::now())
{
    return std::chrono::duration<double, std::micro>(end - start).count();
}

[[noreturn]] inline void Die(const std::string &what)
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

inline Args ParseArgs(int argc, char **argv, int first)
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

inline int Connect(int port, bool nonBlocking = false)
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

inline void SendAll(int fd, const std::string &bytes)
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

// One blocking read of what has arrived on a blocking socket; a closed connection ends the run.
inline size_t ReceiveSome(int fd, char *buffer, size_t size)
{
    for (;;) {
        const ssize_t n = ::recv(fd, buffer, size, 0);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            Die("connection closed while waiting for a reply");
        return size_t(n);
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

inline Reply Decode(const std::string &text)
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
            const size_t n = ReceiveSome(m_fd, buffer, sizeof buffer);
            m_scanner.Feed(buffer, n, [&](const std::string &object) {
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

inline std::string EchoRequest(long value)
{
    return "{\"invokeret\":{\"objname\":\"main.logic\",\"method\":\"echo\",\"mthargs\":[" + std::to_string(value) +
           "]}}";
}

inline std::vector<Kind> SmallKinds()
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

inline std::vector<Kind> LookupKinds(const std::string &path)
{
    return {
        {"getpro-last", {"{\"getpro\":{\"objname\":\"" + path + "\",\"property\":\"objectName\"}}"}, true},
        {"lookup-fail", {"{\"getpro\":{\"objname\":\"nosuch\",\"property\":\"objectName\"}}"}, false},
    };
}

inline std::vector<Kind> KindsOf(const Args &args)
{
    const std::string set = args.Str("set", "small");
    if (set == "small")
        return SmallKinds();
    if (set == "lookup")
        return LookupKinds(args.Str("path"));
    Die("unknown request set " + set);
}

// "name<TAB>microseconds" lines written by scene-lookup.
inline std::map<std::string, double> ReadInProcess(const std::string &path)
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

inline Stats Summarise(std::vector<double> samples)
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

inline std::string Fixed(double value, int decimals = 1)
{
    char text[64];
    std::snprintf(text, sizeof text, "%.*f", decimals, value);
    return text;
}

// ---------------------------------------------------------------------------------------------
// Pipelined flows (Flows.cpp)

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
// idle for idleMs.
FlowResult RunFlows(std::vector<Flow> &flows, size_t chunk, long window, int idleMs, bool quickAck = false);
std::vector<Flow> EchoFlows(int port, long clients, long messages);

// ---------------------------------------------------------------------------------------------
// Subcommands, one file each

int FreePort();
int PrintRequests(const Args &args);
int Record(const Args &args);
int RoundTrip(const Args &args);
int Pipeline(const Args &args);
int Lookup(const Args &args);
int GenScene(const Args &args);
int MemoryBench(const Args &args);
int IdleBench(const Args &args);
int Drive(const Args &args);

} // namespace bench
