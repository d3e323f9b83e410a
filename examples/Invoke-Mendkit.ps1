<#
.SYNOPSIS
Calls mendkit.exe, bounds the time, checks the exit code, parses the answer, tells a failure.
.DESCRIPTION
Exit code: 0 answered, 1 mendkit tells a failure, 2 time-out, 3 no answer: not started, or not ended by itself.
Needs Windows PowerShell 5.1, nothing else. Without parameters it only defines its functions: . .\Invoke-Mendkit.ps1
.EXAMPLE
.\Invoke-Mendkit.ps1 120 'C:\...\mendkit.exe' '--get-service-status', '--name=PlugPlay'
.EXAMPLE
Invoke-Command web1 -FilePath .\Invoke-Mendkit.ps1 -ArgumentList 120, 'C:\...\mendkit.exe', @('--get-disk-space')
#>
param([double]$Seconds, [string]$Program, [string[]]$Arguments)

# An argument as the called program's run time library reads it back: backslashes before a quotation mark, also the
# closing one, are doubled. PowerShell 5.1 itself loses quotation marks in the arguments of programs.
function ConvertTo-QuotedArgument([string]$Argument) {
    '"' + ($Argument -replace '(\\*)"', '$1$1\"' -replace '(\\+)\z', '$1$1') + '"'
}

# Returns an object some seconds after the time limit at the latest:
#   Outcome   'Answered', 'Failure', 'TimeOut' (nothing is known about what mendkit has done), 'NoAnswer'
#   Answer    the parsed answer
#   Message   of a failure, for people, in the system's language
#   Code      of Windows in a failure; $null: none
#   Trail     where in mendkit a failure happened, for its developers
function Invoke-Mendkit([double]$Seconds, [string]$Program, [string[]]$Arguments) {
    Set-StrictMode -Off
    $result = [pscustomobject]@{ Outcome = 'NoAnswer'; Answer = $null; Message = ''; Code = $null; Trail = '' }
    # Not "& $Program": it has no time limit and reads the output in the console's code page.
    $start = New-Object System.Diagnostics.ProcessStartInfo
    $start.FileName = $Program
    $start.Arguments = @(foreach ($argument in $Arguments) { ConvertTo-QuotedArgument $argument }) -join ' '
    $start.UseShellExecute = $false
    $start.CreateNoWindow = $true
    $start.RedirectStandardInput = $start.RedirectStandardOutput = $start.RedirectStandardError = $true
    try {
        $process = [System.Diagnostics.Process]::Start($start)
        $process.StandardInput.Close() # empty; mendkit's utilities inherit it
    } catch {
        $result.Message = "$Program cannot be started: $($_.Exception.GetBaseException().Message)"
        return $result
    }
    # While it runs: a full pipe would stop it. The bytes: StandardOutput would not take them for UTF-8.
    $output = New-Object System.IO.MemoryStream
    $errors = New-Object System.IO.MemoryStream
    $copies = [System.Threading.Tasks.Task[]]@($process.StandardOutput.BaseStream.CopyToAsync($output),
        $process.StandardError.BaseStream.CopyToAsync($errors))
    if (-not $process.WaitForExit([int](1000 * $Seconds))) {
        $result.Outcome = 'TimeOut'
        # A query changes nothing and may be ended. Anything else is left to end by itself and must not be repeated
        # before: the panel's utility would run on without mendkit, and may fail in the middle of a repair.
        if (($Arguments | Select-Object -First 1) -clike '--get-*') {
            try { $process.Kill() } catch { } # it may have just ended
            $result.Message = "no answer within $Seconds s; it was ended"
        } else {
            $result.Message = "no answer within $Seconds s; it runs on as process $($process.Id)"
        }
        return $result
    }
    # Bounded: a process that was started at the same moment may hold the pipe open.
    [void][System.Threading.Tasks.Task]::WaitAll($copies, 2000)
    $text = [System.Text.Encoding]::UTF8.GetString($output.ToArray()).Replace("`r`n", "`n")
    if ($process.ExitCode -eq 1 -and $text.Trim()) {
        $result.Outcome = 'Failure'
        $lines = $text.TrimEnd("`n").Split("`n")
        $end = $lines.Length
        while ($end -gt 0 -and $lines[$end - 1].StartsWith('   at (')) { --$end }
        $begin = $end # above it is an earlier failure: the last one counts
        while ($begin -gt 0 -and -not $lines[$begin - 1].StartsWith('   at (')) { --$begin }
        # The output of a utility that failed may look like anything, also like trails and messages.
        $isUtility = $false
        for ($at = 0; $at -lt $end -and -not $isUtility; ++$at) {
            $isUtility = $lines[$at] -cmatch '^Execute .* failed with error code -?\d+:' -and
                ($at -eq 0 -or -not $lines[$at - 1] -or $lines[$at - 1].StartsWith('   at ('))
            if ($isUtility) { $begin = $at }
        }
        $message = [string]::Join("`n", $lines, $begin, $end - $begin)
        $result.Message = $message.Trim()
        $result.Trail = [string]::Join("`n", $lines, $end, $lines.Length - $end)
        if (-not $isUtility -and $message -match '\(Error code (\d+)\)') { $result.Code = [uint32]$Matches[1] }
    } elseif ($process.ExitCode -ne 0) {
        # 0xC0000005: a fault, 0xC000013A: Ctrl+C, others, also 1 without a text: somebody has ended it
        $told = [System.Text.Encoding]::UTF8.GetString($errors.ToArray())
        $result.Message = 'mendkit ended without an answer: exit code 0x{0:X} {1}' -f $process.ExitCode, $told
    } else {
        try { $result.Answer = ConvertFrom-Json $text } catch { }
        if ($null -ne $result.Answer) { $result.Outcome = 'Answered' }
        else { $result.Message = "the output is no JSON document: $text" }
    }
    $result
}

function Show-Answer([string]$Command, $Answer) {
    Set-StrictMode -Off # a member that is missing is $null
    if ($Command -like '--*-disk-space') {
        foreach ($volume in $Answer) {
            # A used beyond total is no figure: an account with a quota sees a smaller total. Numbers beyond 2^63 - 1
            # come as decimals, the others as integers: compare them as decimals.
            $used = if ([decimal]$volume.used -le [decimal]$volume.total) { $volume.used } else { 'unknown' }
            "$($volume.volume) $($volume.free) of $($volume.total) bytes free, used: $used"
        }
    } elseif ($Command -like '--*-system-resources') {
        foreach ($name in 'memory', 'swap') {
            $free, $total = foreach ($figure in $Answer.$name.free, $Answer.$name.total) {
                if ($null -eq $figure) { 'unknown' } else { $figure }
            }
            "${name}: $free of $total bytes free"
        }
    } elseif ($Command -eq '--reboot') {
        $Answer.message
    } else {
        $status = if ($Answer.status) { $Answer.status } else { 'unknown' }
        "$($Answer.name): $status"
    }
}

if ($Program) {
    $result = Invoke-Mendkit $Seconds $Program $Arguments
    $code = 0
    switch ($result.Outcome) { # decide by the outcome and the code, never by words
        'Answered' { Show-Answer "$($Arguments | Select-Object -First 1)" $result.Answer }
        'Failure' {
            $code = 1
            "failure: $($result.Message)"
            "code: $(if ($null -eq $result.Code) { 'none' } else { $result.Code })"
            $result.Trail
        }
        'TimeOut' { $code = 2; "time-out: $($result.Message)" }
        'NoAnswer' { $code = 3; "no answer: $($result.Message)" }
    }
    if (-not (Test-Path Variable:PSSenderInfo)) { exit $code } # a remote session sends back the text alone
}
