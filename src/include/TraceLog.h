#pragma once
// Trace-logging façade.
//
// The maker's log library (libQmdxLogUtl.so / QmdxLogUtl.dll) is looked for once, when this
// module is loaded. Without it every log site below is a handful of null checks and nothing
// else: the library's presence never changes what the rest of the code does.
//
// A log site always asks the library's filter first and only then evaluates and formats its
// arguments, so a dropped message never converts a string. Use the macros:
//
//     RC_LOG(TraceLog::Error, "%s, can not find QObject %s", "UIRemoteControl::Find...", qPrintable(path));
//     RC_TRACE_SCOPE("UIRemoteControl::DoClick");   // "%s, Enter" now, "%s, Leave" at scope exit

#include "UIRemoteControlGlobal.h"

namespace TraceLog {

enum Severity { Error = 2, Route = 3, Trace = 5 };

// True when a log object with a context and a filter is present: only then can ShouldLog say
// yes, and only then does it ask the library anything. Without the library, work that only
// feeds log lines (the route of an object search) can be skipped without any visible change.
UIREMOTECONTROL_EXPORT bool Enabled();

// True when a log object with a context and a filter is present and the filter accepts
// (level << 8) | severity for this source file and line.
UIREMOTECONTROL_EXPORT bool ShouldLog(int severity, const char *file, int line);

// printf-style write through the library; does nothing without object, context or write word.
// It never consults the filter: callers ask ShouldLog first.
UIREMOTECONTROL_EXPORT void Write(const char *format, ...)
#if defined(__GNUC__)
    __attribute__((format(printf, 1, 2)))
#endif
    ;

// Writes "%s, Enter" at construction (the function's own line) and "%s, Leave" at scope exit
// (line 0), also when an exception passes through.
class ScopedTracer {
public:
    ScopedTracer(const char *file, const char *function, int line) : m_file(file), m_function(function)
    {
        if (ShouldLog(Trace, m_file, line))
            Write("%s, Enter", m_function);
    }
    ~ScopedTracer() noexcept
    {
        if (ShouldLog(Trace, m_file, 0))
            Write("%s, Leave", m_function);
    }
    ScopedTracer(const ScopedTracer &) = delete;
    ScopedTracer &operator=(const ScopedTracer &) = delete;

private:
    const char *m_file;
    const char *m_function;
};

} // namespace TraceLog

#define RC_LOG(severity, ...)                                              \
    do {                                                                   \
        if (::TraceLog::ShouldLog((severity), __FILE__, __LINE__))         \
            ::TraceLog::Write(__VA_ARGS__);                                \
    } while (0)

#define RC_ERROR(...) RC_LOG(::TraceLog::Error, __VA_ARGS__)

#define RC_TRACE_SCOPE(function) ::TraceLog::ScopedTracer rcScopedTracer_(__FILE__, (function), __LINE__)

// The same sites, marked FIXED: the log contract fixes their words, the function names included
// (written by hand, and sometimes naming the function a reader of the log knows rather than the
// one they stand in). Never reword them; tests/replay holds them byte for byte.
#define RC_FIXED_LOG(severity, ...) RC_LOG(severity, __VA_ARGS__)
#define RC_FIXED_ERROR(...) RC_ERROR(__VA_ARGS__)
#define RC_FIXED_TRACE_SCOPE(function) RC_TRACE_SCOPE(function)
