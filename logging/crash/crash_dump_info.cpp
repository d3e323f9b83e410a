#include "logging/crash/crash_dump_info.h"

#include "config/product_config.h"
#include "config/registry.h"
#include "logging/crash/crash_dump.h"
#include "logging/crash/crash_dump_pruning.h"
#include "logging/log_manager.h"
#include "runtime/failure/vexception.h"
#include "runtime/module.h"
#include "runtime/path.h"
#include "runtime/vdatetime.h"

#include <algorithm>
#include <atomic>
#include <cwchar>
#include <iterator>

namespace {

constexpr std::size_t longestPath = 260;

CrashDumpInfo* current = nullptr; // weak

// The dump library is single-threaded, and a fault inside it must not start another dump.
std::atomic_flag dumping;

} // namespace

CrashDumpInfo::CrashDumpInfo() noexcept
{
    current = this;
    // This runs before the entry point, where failures cannot be reported. Settings that were read keep their values.
    try {
        readSettings();
    } catch (...) {
    }
    try {
        fullPath_.reserve(longestPath);
        prefix_ = moduleTitle();
        const auto record = [](EXCEPTION_POINTERS* pointers) { current->dump(pointers); };
        heapCorruptionHandler_ =
            enabled_ ? std::make_unique<HeapCorruptionHandler>(record) : std::make_unique<HeapCorruptionHandler>();
    } catch (...) {
    }
    structured_exception::setObserver(dumpUnhandled);
}

CrashDumpInfo::~CrashDumpInfo()
{
    heapCorruptionHandler_.reset();
    prune();
    current = nullptr;
}

void CrashDumpInfo::prune() noexcept
{
    structured_exception::setObserver(nullptr);
    if (current && current->enabled_)
        pruneCrashDumps(current->location_, current->maxCount_);
}

void CrashDumpInfo::readSettings()
{
    const UniqueRegistryKey key = config::openKey();
    if (!key)
        return;
    registry::lookup(key.get(), L"CrashDumpsEnabled", enabled_);
    std::wstring root;
    registry::lookup(key.get(), L"PRODUCT_ROOT_D", root);
    // Not path::normalise and path::combine, which load a library that most runs do not need.
    std::replace(root.begin(), root.end(), L'/', L'\\');
    if (!root.empty())
        location_ = path::append(root, L"etc\\crashdumps");
    registry::lookup(key.get(), L"CrashDumpsLocation", location_);
    registry::lookup(key.get(), L"CrashDumpsMaxCount", maxCount_);
}

// Uses no heap: the constructor has reserved the buffers.
const std::wstring& CrashDumpInfo::getFileName()
{
    if (!enabled_)
        // Text (sic) and line are fixed: part of the interface with the panel's log readers; do not correct.
        throw vexception(L"Crash dumping does not enabled", {"CrashDumpInfo::getFileName", 688}); // sic
    const VDateTime clock = VDateTime::local();
    const SYSTEMTIME& now = clock.fields();
    if (_snwprintf(name_, std::size(name_), L"%04d%02d%02d_%02d%02d%02d.dmp", now.wYear, now.wMonth, now.wDay,
            now.wHour, now.wMinute, now.wSecond) < 0)
        name_[0] = L'\0';
    fullPath_.resize(longestPath);
    const int length =
        _snwprintf(fullPath_.data(), longestPath + 1, L"%s\\%s%s", location_.c_str(), prefix_.c_str(), name_);
    // A truncated path would name another file.
    fullPath_.resize(length < 0 || length > static_cast<int>(longestPath) ? 0 : static_cast<std::size_t>(length));
    return fullPath_;
}

void CrashDumpInfo::dump(EXCEPTION_POINTERS* pointers) noexcept
{
    constexpr auto wholeMemory =
        static_cast<MINIDUMP_TYPE>(MiniDumpWithDataSegs | MiniDumpWithFullMemory | MiniDumpWithHandleData);
    if (!enabled_ || !pointers || dumping.test_and_set())
        return;
    try {
        const std::wstring& name = getFileName();
        if (name.empty()) {
            throw vexception(
                L"The path of a dump in '" + location_ + L"' is longer than 260 characters", {"CrashDumpInfo::dump"});
        }
        internalDumpMiniDump(name, pointers, wholeMemory);
    } catch (const vexception& failure) {
        LogManager::logLater(failure);
    } catch (...) { // no memory
    }
    dumping.clear();
}

void CrashDumpInfo::dumpUnhandled(EXCEPTION_POINTERS* pointers) noexcept
{
    const auto isDumped = [&] {
        const VectoredExceptionHandler* const handler = current->heapCorruptionHandler_.get();
        return pointers->ExceptionRecord->ExceptionCode == HeapCorruptionHandler::code && handler &&
               handler->isRegistered();
    };
    if (current && pointers && !isDumped())
        current->dump(pointers);
}
