#include "LogRecorder.h"

#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <set>

namespace {

const std::uintptr_t kContext = 0xC0FFEE;

struct LogObject {
    std::uintptr_t words[16];
};

LogObject g_object;
int g_getObjectCalls = 0;
int g_lastGetObjectArgument = -1;
std::vector<LogRecorder::RegisterCall> g_registers;
std::vector<LogRecorder::FilterCall> g_filters;
std::vector<LogRecorder::Line> g_lines;
std::vector<LogRecorder::Line> g_runLines;
bool g_keepRun = false;
// True while the last filter call accepted and no line has been written for it yet.
bool g_acceptPending = false;
std::set<int> g_refused;

std::string Variant()
{
    const char *v = std::getenv("QMDXLOG_VARIANT");
    return v ? v : "";
}

int RegisterModule(std::uintptr_t context, int code, const char *name, int *level)
{
    g_registers.push_back({context, code, name ? name : "", level});
    return 0;
}

int ShouldLog(std::uintptr_t context, int packed, int reserved, const char *file, int line)
{
    const bool accepted = g_refused.count(packed & 0xFF) == 0;
    g_filters.push_back({context, packed, reserved, file ? file : "", line, accepted});
    g_acceptPending = accepted;
    return accepted ? 0 : 1;
}

int Write(std::uintptr_t context, const char *format, va_list args)
{
    char buffer[4096];
    std::vsnprintf(buffer, sizeof buffer, format, args);
    LogRecorder::Line line{context, -1, "", 0, format, buffer};
    // A log site asks the filter and writes right after its yes: the line belongs to that call.
    // A line written without a yes just before it keeps severity -1.
    if (g_acceptPending && !g_filters.empty()) {
        const LogRecorder::FilterCall &call = g_filters.back();
        line.severity = call.packedLevel & 0xFF;
        line.file = call.file;
        line.line = call.line;
    }
    g_acceptPending = false;
    g_lines.push_back(line);
    if (g_keepRun)
        g_runLines.push_back(line);
    return 0;
}

void ReadRefused()
{
    const char *refuse = std::getenv("QMDXLOG_REFUSE");
    if (!refuse)
        return;
    std::string list = refuse;
    size_t start = 0;
    while (start <= list.size()) {
        size_t comma = list.find(',', start);
        if (comma == std::string::npos)
            comma = list.size();
        if (comma > start)
            g_refused.insert(std::atoi(list.substr(start, comma - start).c_str()));
        start = comma + 1;
    }
}

} // namespace

extern "C" LOGRECORDER_EXPORT int LogTrace_GetGlobalObject(int zero, void **object)
{
    ++g_getObjectCalls;
    g_lastGetObjectArgument = zero;
    ReadRefused();
    const std::string variant = Variant();
    std::memset(&g_object, 0, sizeof g_object);
    g_object.words[0x18 / 8] = variant == "nocontext" ? 0 : kContext;
    g_object.words[0x48 / 8] = variant == "noregister" ? 0 : reinterpret_cast<std::uintptr_t>(&RegisterModule);
    g_object.words[0x70 / 8] = variant == "noshouldlog" ? 0 : reinterpret_cast<std::uintptr_t>(&ShouldLog);
    g_object.words[0x78 / 8] = variant == "nowrite" ? 0 : reinterpret_cast<std::uintptr_t>(&Write);
    *object = variant == "nullobject" ? nullptr : &g_object;
    return 0;
}

namespace LogRecorder {

int GetObjectCalls() { return g_getObjectCalls; }
int LastGetObjectArgument() { return g_lastGetObjectArgument; }
const std::vector<RegisterCall> &Registers() { return g_registers; }
const std::vector<FilterCall> &Filters() { return g_filters; }
const std::vector<Line> &Lines() { return g_lines; }
const std::vector<Line> &RunLines() { return g_runLines; }
void KeepRunLines() { g_keepRun = true; }
unsigned long long Context() { return kContext; }

void Clear()
{
    g_filters.clear();
    g_lines.clear();
    g_acceptPending = false;
}

void SetLevel(int level)
{
    for (const RegisterCall &call : g_registers)
        *call.level = level;
}

} // namespace LogRecorder
