// bench-client drive: a fixed amount of work on one connection, for instruction counts.
//
// Connects, sends the messages, checks every reply, and closes. Nothing depends on time: one
// message in flight, or chunks of messages in one write each, the next chunk sent only when all
// replies to the one before have arrived, so each chunk reaches the server in one read whatever
// the speed of the server (under valgrind it runs some fifty times slower).

#include "BenchClient.h"

namespace bench {

int Drive(const Args &args)
{
    const int port = int(args.Required("port"));
    const std::string kind = args.Str("kind", "getpro");
    const long messages = args.Int("messages", 1000);
    const long chunk = std::max(1L, args.Int("chunk", 1));
    std::string request;
    if (kind == "getpro")
        request = SmallKinds()[0].variants[0];
    else if (kind != "invokeret" && kind != "none")
        Die("unknown kind " + kind);

    const int fd = Connect(port);
    ReplyScanner scanner;
    long wrong = 0;
    long sent = 0;
    char buffer[65536];
    while (sent < messages && kind != "none") {
        const long count = std::min(chunk, messages - sent);
        std::string bytes;
        std::vector<long> values;
        for (long i = 0; i < count; ++i) {
            const long value = sent + i;
            values.push_back(value);
            bytes += kind == "invokeret" ? EchoRequest(value) : request;
        }
        SendAll(fd, bytes);
        long got = 0;
        while (got < count) {
            const size_t n = ReceiveSome(fd, buffer, sizeof buffer);
            scanner.Feed(buffer, n, [&](const std::string &object) {
                const Reply reply = Decode(object);
                const bool ok = kind == "invokeret" ? reply.ok && reply.hasInt && reply.value == values[size_t(got)]
                                                    : reply.ok;
                if (!ok)
                    ++wrong;
                ++got;
            });
        }
        sent += count;
    }
    ::close(fd);
    if (wrong) {
        std::fprintf(stderr, "bench-client drive: %ld unexpected replies\n", wrong);
        return 1;
    }
    return 0;
}

} // namespace bench
