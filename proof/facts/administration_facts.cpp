// The lines that the documents for administrators tell them to type.

#include "proof/facts/needs.h"
#include "proof/facts/powershell.h"
#include "test/program.h"

namespace {

class Administration : public ProgramRun
{
protected:
    Administration() { setConfig(L"SendFeedback", L"false"); }

    ChildResult powershell(const std::wstring& lines) const { return runPowerShell(root.path(), lines); }

    const std::wstring mendkit = builtProgram(L"app\\mendkit.exe");
};

} // namespace

#define NEEDS_REMOTING()                                                                                             \
    if (powershell(L"exit [int](-not (Test-WSMan localhost -ErrorAction SilentlyContinue))").exitCode != 0)          \
    GTEST_SKIP() << "this machine has no PowerShell remoting"

TEST_F(Administration, CheckSumOfAnArchive)
{
    NEEDS_POWERSHELL();
    const auto compares = [&](const char* content) {
        std::ofstream((root.path() + L"\\a.zip").c_str()) << content;
        std::ofstream((root.path() + L"\\a.zip.sha256").c_str())
            << "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad  a.zip\n"; // of "abc"
        return powershell(L"(Get-FileHash .\\a.zip).Hash -eq (-split (Get-Content .\\a.zip.sha256))[0]").output;
    };
    EXPECT_EQ("True\r\n", compares("abc")) << "the line does not recognise the right archive";
    EXPECT_EQ("False\r\n", compares("abd")) << "the line lets another archive pass";
}

TEST_F(Administration, VersionOfTheFile)
{
    NEEDS_POWERSHELL();
    EXPECT_EQ(MENDKIT_VERSION "\r\n",
        powershell(L"(Get-Item " + powershellLiteral(mendkit) + L").VersionInfo.FileVersion").output)
        << "the file does not tell its version";
}

TEST_F(Administration, SwitchOfDebug)
{
    const auto runLine = [&](const char* line) {
        const std::wstring script = root.path() + L"\\line.cmd";
        std::ofstream(script.c_str()) << line;
        const ChildResult result =
            runChild(L"C:\\windows\\system32\\cmd.exe", L"/d /c call " + quoteArgument(script));
        EXPECT_EQ(0u, result.exitCode) << result.output;
        DeleteFileW(root.logFile(L"debug").c_str());
        run(L"--help");
        return root.log().find(L" Info: ") != std::wstring::npos;
    };
    EXPECT_TRUE(runLine(R"(reg add "HKLM\SOFTWARE\Kelvo\ZRM Config\Config" /v Debug /t REG_DWORD /d 1 /f /reg:32)"))
        << "the line does not switch Debug on in the view that the program reads";
    EXPECT_FALSE(runLine(R"(reg delete "HKLM\SOFTWARE\Kelvo\ZRM Config\Config" /v Debug /f /reg:32)"))
        << "the line does not switch Debug off";
}

TEST_F(Administration, ScheduledTask)
{
    NEEDS_POWERSHELL();
    const ChildResult result = powershell(LR"(
        $run = '/d /c "")" + mendkit + LR"(" --get-service-status --name=EventLog > "' + $PWD + '\answer.txt""'
        Register-ScheduledTask -TaskName mendkit_proof -User SYSTEM `
            -Action (New-ScheduledTaskAction -Execute "$env:windir\System32\cmd.exe" -Argument $run) `
            -Trigger (New-ScheduledTaskTrigger -Daily -At 3:10) | Out-Null
        try {
            Start-ScheduledTask mendkit_proof
            for ($patience = 600; $patience -gt 0; --$patience) {
                Start-Sleep -Milliseconds 100
                if ((Get-ScheduledTask mendkit_proof).State -ne 'Running' -and (Test-Path answer.txt)) { break }
            }
            'last result: {0}' -f (Get-ScheduledTaskInfo mendkit_proof).LastTaskResult
        } finally { Unregister-ScheduledTask mendkit_proof -Confirm:$false }
        (Get-Content -Raw answer.txt | ConvertFrom-Json).status)");
    EXPECT_EQ("last result: 0\r\nrunning\r\n", result.output) << "no answer of a scheduled task of SYSTEM";
}

TEST_F(Administration, RollingOut)
{
    NEEDS_POWERSHELL();
    NEEDS_REMOTING();
    const std::wstring target = root.path() + L"\\admin\\bin64\\";
    for (const char* const before : {"old", "older"}) { // twice: the second time both names exist
        std::ofstream((target + L"mendkit.exe").c_str()) << before;
        const ChildResult result = powershell(L"Set-Location " + powershellLiteral(builtProgram(L"app")) + LR"(
        $sum = (Get-FileHash .\mendkit.exe).Hash
        foreach ($session in New-PSSession -ComputerName localhost -ErrorVariable unreachable) {
            $target = Invoke-Command $session {
                $panel = (Get-ItemProperty 'HKLM:\SOFTWARE\WOW6432Node\Kelvo\ZRM Config\Config').PRODUCT_ROOT_D
                "$panel\admin\bin64"
            }
            Copy-Item .\mendkit.exe "$target\mendkit-new.exe" -ToSession $session
            Invoke-Command $session -ArgumentList $target, $sum {
                param($target, $sum)
                Set-Location $target -ErrorAction Stop
                if ((Get-FileHash .\mendkit-new.exe).Hash -ne $sum) { throw 'The copy is damaged.' }
                if (Test-Path .\mendkit-before.exe) { Remove-Item .\mendkit-before.exe -ErrorAction Stop }
                if (Test-Path .\mendkit.exe) { Rename-Item .\mendkit.exe mendkit-before.exe -ErrorAction Stop }
                Rename-Item .\mendkit-new.exe mendkit.exe
            }
        }
        Get-PSSession | Remove-PSSession)");
        EXPECT_EQ("", result.output) << "the lines complain";
        EXPECT_EQ(before, readFile(target + L"mendkit-before.exe")) << "the way back is lost";
        EXPECT_EQ(readFile(mendkit), readFile(target + L"mendkit.exe")) << "the new program is not in its place";
        DeleteFileW((target + L"mendkit.exe").c_str());
    }
}

TEST_F(Administration, Remoting)
{
    NEEDS_POWERSHELL();
    NEEDS_REMOTING();
    const ChildResult result = powershell(LR"(
        $code = Get-Content -Raw )" + powershellLiteral(builtProgram(L"examples\\Invoke-Mendkit.ps1")) +
                                          LR"(
        $result = Invoke-Command localhost { . ([scriptblock]::Create($using:code))
            Invoke-Mendkit 60 )" + powershellLiteral(mendkit) +
                                          LR"( '--get-service-status', '--name=EventLog' }
        '{0} {1} {2}' -f $result.PSComputerName, $result.Outcome, $result.Answer.status)");
    EXPECT_EQ("localhost Answered running\r\n", result.output) << "no answer through PowerShell remoting";
}
