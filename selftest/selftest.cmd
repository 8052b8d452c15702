@echo off
rem Tries this kit on this computer against its own simulated analysers; needs nothing installed and takes about a minute.
rem
rem   selftest.cmd [x64 or x86] [COM5 COM6]
rem
rem x64 or x86 chooses the programs; without it those that fit Windows. Two COM ports that are joined by a null-modem cable, or a virtual
rem pair, are tried too. The exit code is 0 when everything has passed.
setlocal
set "KIND=x86"
if /i "%PROCESSOR_ARCHITECTURE%"=="AMD64" set "KIND=x64"
if /i "%PROCESSOR_ARCHITECTURE%"=="ARM64" set "KIND=x64"
if /i "%PROCESSOR_ARCHITEW6432%"=="AMD64" set "KIND=x64"
if /i "%1"=="x64" set "KIND=x64"
if /i "%1"=="x86" set "KIND=x86"
"%~dp0%KIND%\selftest.exe" "%~dp0." %*
