// A log library for the UI remote control's trace.
//
// Environment:
//   UIREMOTE_LOG_SEVERITY  highest severity written: 2 errors (default), 3 route snapshots, 5 trace
//   UIREMOTE_LOG_FILE      file to append to; standard error when unset or empty
//
// Each accepted line is written as "YYYY-MM-DD hh:mm:ss.mmm [severity] text".

#include <chrono>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <mutex>

namespace {

struct LogObject {
    std::uintptr_t words[16];
};

struct Sink {
    std::mutex mutex;
    std::FILE *file = stderr;
    int maxSeverity = 2;
    int lastSeverity = 0; // severity of the last accepted filter call, for the write that follows

    Sink()
    {
        if (const char *severity = std::getenv("UIREMOTE_LOG_SEVERITY"))
            maxSeverity = std::atoi(severity);
        const char *path = std::getenv("UIREMOTE_LOG_FILE");
        if (path && *path) {
            if (std::FILE *opened = std::fopen(path, "a"))
                file = opened;
        }
    }
    ~Sink()
    {
        if (file != stderr)
            std::fclose(file);
    }
};

Sink &TheSink()
{
    static Sink sink;
    return sink;
}

LogObject g_object;

int RegisterModule(std::uintptr_t, int, const char *, int *)
{
    return 0;
}

int ShouldLog(std::uintptr_t, int packedLevel, int, const char *, int)
{
    Sink &sink = TheSink();
    const int severity = packedLevel & 0xFF;
    if (severity > sink.maxSeverity)
        return 1;
    std::lock_guard<std::mutex> lock(sink.mutex);
    sink.lastSeverity = severity;
    return 0;
}

int Write(std::uintptr_t, const char *format, va_list args)
{
    char text[8192];
    std::vsnprintf(text, sizeof text, format, args);

    const auto now = std::chrono::system_clock::now();
    const std::time_t seconds = std::chrono::system_clock::to_time_t(now);
    const int millis = int(std::chrono::duration_cast<std::chrono::milliseconds>(now.time_since_epoch()).count() % 1000);
    std::tm local{};
    localtime_r(&seconds, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y-%m-%d %H:%M:%S", &local);

    Sink &sink = TheSink();
    std::lock_guard<std::mutex> lock(sink.mutex);
    std::fprintf(sink.file, "%s.%03d [%d] %s\n", stamp, millis, sink.lastSeverity, text);
    std::fflush(sink.file);
    return 0;
}

} // namespace

extern "C" __attribute__((visibility("default"))) int LogTrace_GetGlobalObject(int, void **object)
{
    std::memset(&g_object, 0, sizeof g_object);
    g_object.words[0x18 / 8] = 1; // context: any non-zero handle
    g_object.words[0x48 / 8] = reinterpret_cast<std::uintptr_t>(&RegisterModule);
    g_object.words[0x70 / 8] = reinterpret_cast<std::uintptr_t>(&ShouldLog);
    g_object.words[0x78 / 8] = reinterpret_cast<std::uintptr_t>(&Write);
    *object = &g_object;
    return 0;
}
