# The values of an analyser, in three ways, for Windows PowerShell 5.
#
#   values.ps1 dialog ..\x64                  starts the dialog, waits for its user and prints what was accepted
#   values.ps1 once   ..\x64 [OPTION...]      one measurement without a window
#   values.ps1 follow ..\x64 [OPTION...]      each second, until Ctrl+C
#
# The options of the last two are those of nelto-read, such as --link COM5. The exit code is nelto-read's; of the dialog 1 when its user has
# cancelled. Where scripts are forbidden: powershell -ExecutionPolicy Bypass -File values.ps1 once ..\x64
# This script has not been run yet: the tests of the project have no PowerShell. values.py does the same, and is tested.

param(
    [Parameter(Mandatory = $true)] [ValidateSet('dialog', 'once', 'follow')] [string] $Way,
    [Parameter(Mandatory = $true)] [string] $Folder,
    [Parameter(ValueFromRemainingArguments = $true)] [string[]] $Options = @()
)
[Console]::OutputEncoding = [Text.Encoding]::UTF8  # of what nelto-read prints

function Show($Measurement) {
    $oxygen = $Measurement.values | Where-Object { $_.key -eq 2003 } | Select-Object -First 1
    '{0} {1} {2} O2 {3}' -f $Measurement.time, $Measurement.status, $Measurement.device.name, $oxygen.value
}

switch ($Way) {
    'dialog' {
        $file = Join-Path ([IO.Path]::GetTempPath()) 'NeltoStackWatcher.txt'
        Remove-Item $file -ErrorAction SilentlyContinue
        Start-Process (Join-Path $Folder 'NeltoStackWatcher.exe') -ArgumentList 'JOB17' -Wait  # the word comes back as the first line
        if (-not (Test-Path $file)) { exit 1 }
        Get-Content $file -Encoding Default  # the ANSI code page
        Remove-Item $file
    }
    'once' {
        $line = & (Join-Path $Folder 'nelto-read.exe') --format json @Options
        if ($LASTEXITCODE -eq 0) { Show ($line | ConvertFrom-Json) }
        exit $LASTEXITCODE
    }
    'follow' {
        & (Join-Path $Folder 'nelto-read.exe') --watch --format json @Options | ForEach-Object { Show ($_ | ConvertFrom-Json) }
        exit $LASTEXITCODE
    }
}
