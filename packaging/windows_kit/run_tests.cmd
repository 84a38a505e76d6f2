@echo off
rem run_tests.cmd [CLIENT_PORT BOX_PORT] [PROGRAM]
rem
rem Runs the tests of QmZentrel on this machine, from an administrator's command prompt, and writes
rem report.txt beside itself. CLIENT_PORT and BOX_PORT are the numbers of the two ends of a null-modem
rem cable or of a pair of virtual ports; without them the tests with a box are left out. With PROGRAM
rem only that one is run. QMZ_LEAVE_OUT in the environment names single tests to be left out, as the
rem programs know them: IdleWaits.*:Registration.*
rem
rem The tests write to HKEY_LOCAL_MACHINE\SOFTWARE\QuenmoorComms and register the DLL: take a machine
rem that is used for nothing else, and read README.txt first.
setlocal
cd /d "%~dp0"
set report=%~dp0report.txt
set QMZ_DLL=%~dp0QmZentrel.dll
set QMZ_SOURCES=%~dp0sources
set QMZ_BOX_PROGRAM=%~dp0virtual_box.exe
set QMZ_CLIENT_PROGRAM=%~dp0box_commands_tests.exe
set QMZ_PORT=%~1
set QMZ_BOX_PORT=%~2
set program=%~3
if "%QMZ_BOX_PORT%"=="" (
  set QMZ_PORT=
  set program=%~1
)
set left_out=%QMZ_LEAVE_OUT%
rem A tap between client and box needs two ports more, which few have.
if "%QMZ_TAP_PORT%"=="" set left_out=%left_out%:ComBox.HasTheSameFramesAsATapBetweenItAndItsClient
if not "%left_out%"=="" set GTEST_FILTER=-%left_out%
set count=0
set failed=0

echo QmZentrel on this machine > "%report%"
ver >> "%report%"
echo %PROCESSOR_ARCHITECTURE% %PROCESSOR_ARCHITEW6432% >> "%report%"

set regsvr32=%SystemRoot%\SysWOW64\regsvr32.exe
if not exist "%regsvr32%" set regsvr32=%SystemRoot%\System32\regsvr32.exe
rem Takes the reports of the faults that the tests bring about; else each would be a message box.
"%regsvr32%" /s error_component.dll
if errorlevel 1 (
  echo The error handler of the tests could not be registered: start as an administrator.
  echo NOT RUN: no rights to register >> "%report%"
  exit /b 1
)

for /f "usebackq tokens=1" %%p in ("programs.txt") do call :run %%p
if not "%QMZ_BOX_PORT%"=="" call :run com_box_test

"%regsvr32%" /u /s error_component.dll
if %count%==0 (
  echo NOTHING RUN: there is no program %program%, or it needs two ports >> "%report%"
  echo Nothing was run: there is no program %program% in programs.txt; com_box_test needs two ports.
  exit /b 1
)
if %failed%==0 (
  echo ALL PASSED: %count% >> "%report%"
  echo All %count% passed. The report is in report.txt.
  exit /b 0
)
echo %failed% of %count% FAILED >> "%report%"
echo %failed% of %count% failed. The report is in report.txt: please send it to the makers.
exit /b 1

:run
if not "%program%"=="" if not "%program%"=="%~1" exit /b 0
set /a count=count+1
echo %1
echo === %1 >> "%report%"
rem Into a file of its own: what the program has started may hold it open for a while.
"%~dp0%1.exe" --gtest_brief=1 > "%~dp0%1.out" 2>&1
rem Of a program that has crashed the code is negative.
set code=%errorlevel%
type "%~dp0%1.out" >> "%report%"
if "%code%"=="0" (
  echo === %1: passed >> "%report%"
) else (
  set /a failed=failed+1
  echo === %1: FAILED with %code% >> "%report%"
)
exit /b 0
