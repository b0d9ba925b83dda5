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
//   bench-client idle --host P --floor P [--idle N] [--messages N] [--repeats N]
//       one active client's getpro messages per second with no other connection and with N idle
//       ones (default 3000), on both servers, and the ratios
//   bench-client drive --port P [--kind getpro|invokeret|none] [--messages N] [--chunk N]
//       N messages (getpro of the small scene, or invokeret echo), chunk messages per write, the
//       next write after all replies to the last; for instruction counts (none: connect, close)
//   bench-client genscene --shape wide|balanced --objects N --out FILE
//       writes a QML scene and prints "objects=<named items> path=<dotted path of the last item>"
//
// Replies carry no terminator: they are cut out of the byte stream by brace depth outside strings.
// Requests are compact JSON, each sent in one write.

#include "BenchClient.h"

using namespace bench;

int main(int argc, char **argv)
{
    if (argc < 2)
        Die("usage: bench-client freeport|requests|record|roundtrip|pipeline|lookup|memory|idle|drive|genscene [--options]");
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
    if (command == "idle")
        return IdleBench(args);
    if (command == "drive")
        return Drive(args);
    if (command == "genscene")
        return GenScene(args);
    Die("unknown command " + command);
}
