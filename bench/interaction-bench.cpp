// Typing speed and the cost of a wait that is already satisfied, against uiremote-host on
// bench/scenes/typing.qml:
//  - "typetext": characters per second, typing the same mixed text (ASCII, accents, CJK) in
//    messages of --chunk characters until --chars have been typed; the field's length is checked.
//  - "waitprop" on a property that already holds its value against "getpro" of the same
//    property: round-trip p50 and p99 of each, in alternating blocks, and their ratio.
// Plain POSIX sockets, one connection, one message in flight.
//
// usage: interaction-bench --port N [--chars 4000] [--chunk 200] [--samples 2000] [--block 50]

#include <arpa/inet.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

namespace {

using Clock = std::chrono::steady_clock;

int Connect(int port)
{
    const int fd = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<uint16_t>(port));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (fd < 0 || ::connect(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0)
        return -1;
    const int one = 1;
    ::setsockopt(fd, IPPROTO_TCP, TCP_NODELAY, &one, sizeof one);
    return fd;
}

// Sends one message and reads its reply: one JSON object, complete when its braces balance.
std::string Exchange(int fd, const std::string &message)
{
    if (::send(fd, message.data(), message.size(), 0) != static_cast<ssize_t>(message.size()))
        return {};
    std::string reply;
    int depth = 0;
    bool inString = false, escaped = false, started = false;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::recv(fd, buffer, sizeof buffer, 0);
        if (got <= 0)
            return {};
        for (ssize_t i = 0; i < got; ++i) {
            const char c = buffer[i];
            reply += c;
            if (inString) {
                escaped = !escaped && c == '\\';
                if (!escaped && c == '"')
                    inString = false;
            } else if (c == '"') {
                inString = true;
            } else if (c == '{') {
                ++depth, started = true;
            } else if (c == '}' && --depth == 0 && started) {
                return reply;
            }
        }
    }
}

bool Succeeded(const std::string &reply) { return reply.find("\"result\": true") != std::string::npos; }

double Percentile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values.empty() ? 0 : values[std::min(values.size() - 1, static_cast<size_t>(share * values.size()))];
}

int Arg(int argc, char **argv, const char *name, int fallback)
{
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0)
            return std::atoi(argv[i + 1]);
    }
    return fallback;
}

} // namespace

int main(int argc, char **argv)
{
    const int port = Arg(argc, argv, "--port", 0);
    const int chars = Arg(argc, argv, "--chars", 4000);
    const int chunk = Arg(argc, argv, "--chunk", 200);
    const int samples = Arg(argc, argv, "--samples", 2000);
    const int block = Arg(argc, argv, "--block", 50);
    const int fd = Connect(port);
    if (fd < 0) {
        std::fprintf(stderr, "cannot connect to port %d\n", port);
        return 1;
    }

    // One unit: 23 code points (letters, capitals, punctuation, accents, CJK).
    const std::string unit = "Hello, W\xc3\xb6rld! \xc3\xa9\xc3\xa0 \xe4\xbd\xa0\xe5\xa5\xbd 42 ";
    const int unitChars = 23;
    std::string text;
    for (int n = 0; n < chunk; n += unitChars)
        text += unit;
    const int perMessage = ((chunk + unitChars - 1) / unitChars) * unitChars;
    const std::string typeMessage = "{\"typetext\":{\"winobjname\":\"typingWindow\",\"text\":\"" + text + "\"}}";
    int typed = 0;
    const auto typingStart = Clock::now();
    while (typed < chars) {
        if (!Succeeded(Exchange(fd, typeMessage))) {
            std::fprintf(stderr, "typetext failed\n");
            return 1;
        }
        typed += perMessage;
    }
    const double typingSeconds = std::chrono::duration<double>(Clock::now() - typingStart).count();
    const std::string lengthReply = Exchange(fd, "{\"getpro\":{\"objname\":\"input\",\"property\":\"length\"}}");
    const bool lengthOk = lengthReply.find("\"value\": " + std::to_string(typed)) != std::string::npos;
    std::printf("typetext: %d characters in %d messages of %d, %.2f s: %.0f characters per second (field length %s)\n",
                typed, typed / perMessage, perMessage, typingSeconds, typed / typingSeconds, lengthOk ? "checked" : "WRONG");

    const std::string getpro = "{\"getpro\":{\"objname\":\"input\",\"property\":\"level\"}}";
    const std::string waitprop = "{\"waitprop\":{\"objname\":\"input\",\"property\":\"level\",\"value\":7,\"timeout\":5000}}";
    std::vector<double> getTimes, waitTimes;
    bool repliesOk = true;
    for (int done = 0; done < samples; done += block) {
        for (const std::string *message : {&getpro, &waitprop}) {
            for (int i = 0; i < block; ++i) {
                const auto start = Clock::now();
                const std::string reply = Exchange(fd, *message);
                const double us = std::chrono::duration<double, std::micro>(Clock::now() - start).count();
                repliesOk = repliesOk && Succeeded(reply) && reply.find("\"value\": 7") != std::string::npos;
                (message == &getpro ? getTimes : waitTimes).push_back(us);
            }
        }
    }
    const double getP50 = Percentile(getTimes, 0.5), waitP50 = Percentile(waitTimes, 0.5);
    std::printf("%-28s %10s %10s\n", "round trip (us)", "p50", "p99");
    std::printf("%-28s %10.1f %10.1f\n", "getpro", getP50, Percentile(getTimes, 0.99));
    std::printf("%-28s %10.1f %10.1f\n", "waitprop (already holds)", waitP50, Percentile(waitTimes, 0.99));
    std::printf("waitprop / getpro (p50): %.2f  (%zu samples each, replies %s)\n", waitP50 / getP50, getTimes.size(),
                repliesOk ? "checked" : "WRONG");
    ::close(fd);
    return lengthOk && repliesOk ? 0 : 1;
}
