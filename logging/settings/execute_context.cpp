#include "logging/settings/execute_context.h"

#include "logging/settings/process_heap.h"

#include <windows.h>

#include <psapi.h>

#include <cstddef>
#include <vector>

// The other modules of the product have the same offsets.
static_assert(offsetof(LogSettings, eventLog) == 6 && offsetof(LogSettings, handlers) == 16);
static_assert(offsetof(LogSettings, consoleUsed) == 32 && offsetof(ExecuteContext, logSettings) == 16);

// The export name of the pointer in every module of the product.
#define MENDKIT_CONTEXT_SYMBOL m_ExecuteContext_4D93FADE_7B9E_4286_AE07_54AF471F7E22
#define MENDKIT_TEXT_OF(symbol) #symbol
#define MENDKIT_NAME_OF(symbol) MENDKIT_TEXT_OF(symbol)

extern "C" {
extern __declspec(dllexport) ExecuteContext* MENDKIT_CONTEXT_SYMBOL;
ExecuteContext* MENDKIT_CONTEXT_SYMBOL = nullptr;
}

namespace {

std::vector<HMODULE> loadedModules()
{
    std::vector<HMODULE> modules(2048 / sizeof(HMODULE));
    // The second attempt uses the reported size. If modules are loaded in between, the result is empty.
    for (int attempt = 0; attempt < 2; ++attempt) {
        const DWORD size = static_cast<DWORD>(modules.size() * sizeof(HMODULE));
        DWORD needed = 0;
        if (!K32EnumProcessModules(GetCurrentProcess(), modules.data(), size, &needed))
            break;
        modules.resize(needed / sizeof(HMODULE));
        if (needed <= size)
            return modules;
    }
    return {};
}

ExecuteContext* contextOfOthers()
{
    for (const HMODULE module : loadedModules()) {
        const auto symbol =
            reinterpret_cast<ExecuteContext* const*>(GetProcAddress(module, MENDKIT_NAME_OF(MENDKIT_CONTEXT_SYMBOL)));
        if (symbol && *symbol)
            return *symbol;
    }
    return nullptr;
}

void release(ExecuteContext* context) noexcept
{
    if (InterlockedDecrement64(&context->references) > 0)
        return;
    if (LogSettings* const settings = context->logSettings) {
        LogHandlerList& handlers = settings->handlers;
        while (handlers.count > 0)
            handlers.remove(handlers.sentinel->next->handler);
        process_heap::destroy(handlers.sentinel);
        process_heap::destroy(settings);
    }
    process_heap::destroy(context->runtimeObject);
    process_heap::destroy(context);
}

struct ReleaseAtExit
{
    ~ReleaseAtExit()
    {
        if (ExecuteContext* const context = MENDKIT_CONTEXT_SYMBOL) {
            MENDKIT_CONTEXT_SYMBOL = nullptr;
            release(context);
        }
    }
};

} // namespace

ExecuteContext& ExecuteContext::get()
{
    if (!MENDKIT_CONTEXT_SYMBOL) {
        ExecuteContext* context = contextOfOthers();
        if (context) {
            InterlockedIncrement64(&context->references);
        } else {
            void* const placeholder = process_heap::create<std::uint64_t>(0);
            context = process_heap::create<ExecuteContext>({placeholder, nullptr, nullptr, 1});
        }
        MENDKIT_CONTEXT_SYMBOL = context;
        static const ReleaseAtExit releaseAtExit;
    }
    return *MENDKIT_CONTEXT_SYMBOL;
}

LogSettings& ExecuteContext::settings(bool& created)
{
    ExecuteContext& context = get();
    created = context.logSettings == nullptr;
    if (created)
        context.logSettings = process_heap::create<LogSettings>({{}, {}, LogHandlerList::create(), false});
    return *context.logSettings;
}
