// The trace-log facade (TraceLog.h): the log library loaded through a platform shim, its filter and writer.

#include "TraceLog.h"

#include <cstdarg>
#include <cstdint>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace {

// The four words of the library's log object that this module uses (8 bytes each).
using RegisterModuleFn = int (*)(std::uintptr_t context, int moduleCode, const char *moduleName, int *level);
using ShouldLogFn = int (*)(std::uintptr_t context, int packedLevel, int reserved, const char *file, int line);
using WriteFn = int (*)(std::uintptr_t context, const char *format, va_list args);
using GetGlobalObjectFn = int (*)(int, void **);

struct LogObject {
    std::uintptr_t words[16];
    std::uintptr_t context() const { return words[0x18 / 8]; }
    RegisterModuleFn registerModule() const { return reinterpret_cast<RegisterModuleFn>(words[0x48 / 8]); }
    ShouldLogFn shouldLog() const { return reinterpret_cast<ShouldLogFn>(words[0x70 / 8]); }
    WriteFn write() const { return reinterpret_cast<WriteFn>(words[0x78 / 8]); }
};

const int kModuleCode = 19;
const char kModuleName[] = "PluginUIRemoteControl";

// Platform shim: the only place that knows how a library is loaded.
#if defined(_WIN32)
using LibraryHandle = HMODULE;
LibraryHandle openLogLibrary() { return LoadLibraryA("QmdxLogUtl.dll"); }
void *findSymbol(LibraryHandle h, const char *name) { return reinterpret_cast<void *>(GetProcAddress(h, name)); }
void closeLibrary(LibraryHandle h) { FreeLibrary(h); }
#else
using LibraryHandle = void *;
LibraryHandle openLogLibrary() { return dlopen("libQmdxLogUtl.so", RTLD_NOW | RTLD_LOCAL); }
void *findSymbol(LibraryHandle h, const char *name) { return dlsym(h, name); }
void closeLibrary(LibraryHandle h) { dlclose(h); }
#endif

// Module-wide state, set once at load. The level is written by the library only.
LibraryHandle g_library = nullptr;
LogObject *g_object = nullptr;
int g_level = 0;

// Loads the library when the module is loaded and frees it at module teardown.
struct ModuleLifetime {
    ModuleLifetime()
    {
        g_library = openLogLibrary();
        if (!g_library)
            return;
        auto getObject = reinterpret_cast<GetGlobalObjectFn>(findSymbol(g_library, "LogTrace_GetGlobalObject"));
        if (!getObject)
            return;
        void *object = nullptr;
        getObject(0, &object);
        auto *log = static_cast<LogObject *>(object);
        if (log && log->registerModule())
            log->registerModule()(log->context(), kModuleCode, kModuleName, &g_level);
        g_object = log;
    }
    ~ModuleLifetime()
    {
        // Nothing may log after this point; forgetting the object keeps a late log site harmless.
        g_object = nullptr;
        if (g_library)
            closeLibrary(g_library);
    }
} g_moduleLifetime;

} // namespace

namespace TraceLog {

bool Enabled()
{
    const LogObject *log = g_object;
    return log && log->context() && log->shouldLog();
}

bool ShouldLog(int severity, const char *file, int line)
{
    const LogObject *log = g_object;
    if (!log || !log->context() || !log->shouldLog())
        return false;
    const int packed = static_cast<int>((static_cast<unsigned>(g_level) << 8) | (static_cast<unsigned>(severity) & 0xFFu));
    return log->shouldLog()(log->context(), packed, 0, file, line) == 0;
}

void Write(const char *format, ...)
{
    const LogObject *log = g_object;
    if (!log || !log->context() || !log->write())
        return;
    va_list args;
    va_start(args, format);
    log->write()(log->context(), format, args);
    va_end(args);
}

} // namespace TraceLog
