#include "logging/log_manager.h"
#include "test/child_process.h"
#include "test/recording_handler.h"
#include "test/sandbox.h"

class SharedSettings : public RegistrySandbox
{
};

TEST_F(SharedSettings, LetALoadedModuleLogAsTheProgram)
{
    LogSettings& settings = LogManager::settings();
    settings.console[1] = true; // Warning
    settings.consoleUsed = false;
    RecordingHandler first, removed, second;
    LogManager::removeHandler(&removed);
    const HMODULE module = LoadLibraryW(builtProgram(L"test\\logging_module.dll").c_str());
    ASSERT_TRUE(module) << GetLastError();
    const auto logWarning =
        reinterpret_cast<void (*)(const wchar_t*)>(reinterpret_cast<void*>(GetProcAddress(module, "logWarning")));
    testing::internal::CaptureStdout();
    logWarning(L"of the module");
    FreeLibrary(module);
    LogManager::log(LogLevel::Warning, L"of the program");
    EXPECT_EQ("of the module\nof the program", testing::internal::GetCapturedStdout());
    for (const RecordingHandler* handler : {&first, &second}) {
        ASSERT_EQ(2u, handler->records.size());
        EXPECT_EQ(L"of the module", handler->records[0].message);
    }
    EXPECT_EQ(0u, removed.records.size());
    settings.console[1] = false;
}
