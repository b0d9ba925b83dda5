// Pipelined flows: non-blocking sockets under one poll() loop, shared by pipeline and memory.

#include "BenchClient.h"

namespace bench {

// A flow ends when its last request is answered with success, or when the whole run has been
// quiet for idleMs after everything was sent (lost messages never get a reply).
FlowResult RunFlows(std::vector<Flow> &flows, size_t chunk, long window, int idleMs, bool quickAck)
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

} // namespace bench
