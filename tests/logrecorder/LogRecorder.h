#pragma once
// A test build of the maker's log library (libQmdxLogUtl.so). It hands out a log object whose
// functions record every call, so tests can assert exactly what the trace façade sent.
//
// Variants, chosen by the environment before the library under test is loaded:
//   QMDXLOG_VARIANT = "" | "noregister" | "noshouldlog" | "nowrite" | "nocontext" | "nullobject"
//   QMDXLOG_REFUSE  = comma-separated severities the filter refuses, e.g. "5" or "3,5"

#include <string>
#include <vector>

#if defined(_WIN32)
#define LOGRECORDER_EXPORT __declspec(dllexport)
#else
#define LOGRECORDER_EXPORT __attribute__((visibility("default")))
#endif

namespace LogRecorder {

struct RegisterCall {
    unsigned long long context;
    int moduleCode;
    std::string moduleName;
    int *level;
};

struct FilterCall {
    unsigned long long context;
    int packedLevel;  // (level << 8) | severity
    int reserved;     // always 0
    std::string file;
    int line;
    bool accepted;
};

struct Line {
    unsigned long long context;
    int severity;     // from the accepting filter call just before it; -1 without one
    std::string file; // likewise
    int line;         // likewise
    std::string format;
    std::string text; // formatted with vsnprintf
};

LOGRECORDER_EXPORT int GetObjectCalls();
LOGRECORDER_EXPORT int LastGetObjectArgument();
LOGRECORDER_EXPORT const std::vector<RegisterCall> &Registers();
LOGRECORDER_EXPORT const std::vector<FilterCall> &Filters();
LOGRECORDER_EXPORT const std::vector<Line> &Lines();    // since the last Clear()
// Every line since KeepRunLines() was called; off by default, so that long runs (the fuzz
// targets) do not pile up lines.
LOGRECORDER_EXPORT const std::vector<Line> &RunLines();
LOGRECORDER_EXPORT void KeepRunLines();
LOGRECORDER_EXPORT void Clear();                 // forgets filter calls and Lines(), not RunLines()
LOGRECORDER_EXPORT void SetLevel(int level);     // writes the registered level variable
LOGRECORDER_EXPORT unsigned long long Context(); // the context word handed out

} // namespace LogRecorder
