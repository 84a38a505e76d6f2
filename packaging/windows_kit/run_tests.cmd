@echo off
rem run_tests.cmd [CLIENT_PORT BOX_PORT] [PROGRAM]
rem
rem Runs the tests of QmZentrel on this machine, from an administrator's command prompt, and writes
rem report.txt beside itself. CLIENT_PORT and BOX_PORT are the numbers of the two ends of a null-modem
rem cable or of a pair of virtual ports; without them the tests with a box are left out. With PROGRAM
rem only that one is run. QMZ_LEAVE_OUT in the environment names single tests to be left out, as the
rem programs know them: IdleWaits.*:Registration.*
rem
rem The tests register the DLL and an error handler and write to
rem HKEY_LOCAL_MACHINE\SOFTWARE\QuenmoorComms. What is there is put aside in the folder kept, and back
rem at the end; a run that was broken off, by the next one. Read README.txt first.
setlocal EnableExtensions DisableDelayedExpansion
rem Taken once: called by a relative name, %~dp0 is another folder after cd.
set "here=%~dp0"
cd /d "%here%"
if not exist QmZentrel.dll (
  echo Unpack the whole zip into a folder on a disk of this machine, and start run_tests.cmd there.
  exit /b 1
)
set "report=%here%report.txt"
set "kept=%here%kept"
set "QMZ_DLL=%here%QmZentrel.dll"
set "QMZ_SOURCES=%here%sources"
set "QMZ_BOX_PROGRAM=%here%virtual_box.exe"
set "QMZ_CLIENT_PROGRAM=%here%box_commands_tests.exe"
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
set starts=0
set none=
set lost=
set stays=
set restarted=

del /q "%here%*.out" >nul 2>&1
echo QmZentrel on this machine > "%report%"
ver >> "%report%"
echo %PROCESSOR_ARCHITECTURE% %PROCESSOR_ARCHITEW6432% >> "%report%"

rem The system's own, whatever else is in the path. The component is one of 32-bit programs.
set wide=
if not "%PROCESSOR_ARCHITECTURE%"=="x86" set wide=yes
if not "%PROCESSOR_ARCHITEW6432%"=="" set wide=yes
set "tools=%SystemRoot%\System32"
if "%wide%"=="yes" set "tools=%SystemRoot%\SysWOW64"
set "reg=%tools%\reg.exe"
set "regsvr32=%tools%\regsvr32.exe"
set "find=%tools%\find.exe"
rem From a 32-bit command prompt System32 is the folder of 32-bit programs, too.
set "reg_64=%SystemRoot%\Sysnative\reg.exe"
if not exist "%reg_64%" set "reg_64=%SystemRoot%\System32\reg.exe"

call :keep
if not "%lost%%stays%"=="" exit /b 1
rem Takes the reports of the faults that the tests bring about; else each would be a message box.
"%regsvr32%" /s error_component.dll
if errorlevel 1 (
  call :remove_kept
  echo The error handler of the tests could not be registered: start as an administrator.
  echo NOT RUN, nor are the tests of 64-bit programs: no rights to register >> "%report%"
  exit /b 1
)

for /f "usebackq tokens=1" %%p in ("programs.txt") do call :run %%p
call :run_unregistered
if not "%QMZ_BOX_PORT%"=="" call :run com_box_test
call :run_surrogate

"%regsvr32%" /u /s error_component.dll
call :put_back
if not "%none%"=="" echo LEFT OUT:%none% >> "%report%"
if not "%none%"=="" echo Left out, and the report says why:%none%
if not "%lost%"=="" (
  echo NOT PUT BACK:%lost% >> "%report%"
  echo Not put back into the registry:%lost%. It is in the folder kept, to be imported by hand.
)
if %count%==0 (
  echo NOTHING RUN: there is no program %program%, or it needs two ports, or all is left out >> "%report%"
  echo Nothing was run: there is no program %program% in programs.txt, com_box_test needs two ports,
  echo or all of it is left out.
  exit /b 1
)
if not %failed%==0 (
  echo %failed% of %count% FAILED >> "%report%"
  echo %failed% of %count% failed. The report is in report.txt: please send it to the makers.
  exit /b 1
)
if not "%lost%%stays%"=="" exit /b 1
echo ALL PASSED: %count% >> "%report%"
echo All %count% passed. The report is in report.txt.
exit /b 0

:run
if not "%program%"=="" if not "%program%"=="%~1" exit /b 0
set /a count=count+1
echo %1
echo === %1 >> "%report%"
call :start %1
if not "%code%"=="0" (
  set /a failed=failed+1
  echo === %1: FAILED with %code% >> "%report%"
  exit /b 0
)
if "%ran%"=="yes" (
  echo === %1: passed >> "%report%"
  exit /b 0
)
set /a count=count-1
call :leave_out %1 "none of its tests is to be run"
exit /b 0

:leave_out
set none=%none% %1
echo === %1: LEFT OUT: %~2 >> "%report%"
exit /b 0

rem A program, whose code is then in %code%, and in %ran% whether a test of it has run.
:start
rem Into a file of its own: what the program has started may hold it open for a while.
set /a starts=starts+1
set "output=%here%%1.%starts%.out"
set "file=%here%%1.exe"
if not exist "%file%" set "file=%here%without_registration\%1.exe"
"%file%" --gtest_brief=1 %2 > "%output%" 2>&1
rem Of a program that has crashed the code is negative.
set code=%errorlevel%
rem Where it cannot be written nothing has been run.
if not exist "%output%" set code=no output
type "%output%" >> "%report%"
set ran=yes
"%find%" "[  PASSED  ] 0 tests" "%output%" >nul 2>&1
if not errorlevel 1 set ran=
exit /b 0

rem --- Programs with manifests beside them, where the component is not registered ---

:run_unregistered
if not "%program%"=="" if not "%program%"=="registration_free_test" exit /b 0
rem Where that fails the first of its tests does.
"%regsvr32%" /u /s QmZentrel.dll
call :run registration_free_test
exit /b 0

rem --- 64-bit programs, which have the component in the system's surrogate process ---

:run_surrogate
set client=surrogate_client_64
if not "%program%"=="" if not "%program%"=="%client%" exit /b 0
if not "%wide%"=="yes" (
  call :leave_out %client% "this Windows has no 64-bit programs"
  exit /b 0
)
rem What a run that was broken off has started ends by itself within a minute of its last object.
set tries=1
if "%restarted%"=="yes" set tries=15
:others
call :start %client% "--gtest_filter=SurrogateOfOthers.*"
set /a tries=tries-1
if "%code%"=="0" set tries=0
if not %tries%==0 "%tools%\ping.exe" -n 6 127.0.0.1 >nul 2>&1
if not %tries%==0 goto others
if not "%code%"=="0" (
  call :leave_out %client% "it does not start here, or another program has the component open"
  exit /b 0
)
set /a count=count+1
set wrong=
set some=
echo %client%
echo === %client% >> "%report%"
rem A choice that was made before would be kept.
call :must "%regsvr32%" /s /u QmZentrel.dll
call :must "%regsvr32%" /s QmZentrel.dll
call :step SurrogateUnregistered.*
call :must "%regsvr32%" /s /n /i:surrogate QmZentrel.dll
call :must "%reg%" import catalog.reg
set filter=*SurrogateClient*:*SurrogateProcess*:SurrogateObjects.*
if "%QMZ_BOX_PORT%"=="" call :step "%filter%" *ABox*:
if not "%QMZ_BOX_PORT%"=="" call :step "%filter%"
call :must "%reg%" import switch_on.reg
call :step SurrogateDialog.*
call :must "%reg%" import switch_off.reg
rem A fault comes up where no error handler takes it. What the surrogate has of the environment is not
rem the same on every system, so there must be none.
call :must "%regsvr32%" /u /s error_component.dll
call :step SurrogateBox.*
call :must "%regsvr32%" /s error_component.dll
call :step SurrogateEnd.*
call :must "%regsvr32%" /s /u /n /i:surrogate QmZentrel.dll
call :step SurrogateUnregistered.*
call :must "%regsvr32%" /s /u QmZentrel.dll
if not "%wrong%"=="" (
  set /a failed=failed+1
  echo === %client%: FAILED:%wrong% >> "%report%"
  exit /b 0
)
if "%some%"=="yes" (
  echo === %client%: passed >> "%report%"
  exit /b 0
)
set /a count=count-1
call :leave_out %client% "none of its tests is to be run"
exit /b 0

:must
%* >nul 2>&1
if not errorlevel 1 exit /b 0
echo FAILED: %* >> "%report%"
set wrong=%wrong% %~n1
exit /b 0

rem Those tests without those; what is left out is so here, too.
:step
set without=%~2
echo --- %~1 >> "%report%"
call :start %client% "--gtest_filter=%~1:-%without%%left_out%"
if not "%code%"=="0" set wrong=%wrong% %~1
if "%ran%"=="yes" set some=yes
exit /b 0

rem --- What the machine has of the component and what the tests change of it ---

rem PART KIND: calls that part for each key, with a name for its file and the program for its view of
rem the registry.
:each
set "classes=HKLM\Software\Classes"
set "user_classes=HKCU\Software\Classes"
set id={FC8682E2-9814-4065-86F6-49F1E6A8704B}
set library_id={314317B4-1F1E-4FA7-B288-75070A78C531}
set interface_id={D8137FF8-FBFF-429D-BAB7-798BB06D6779}
call :%1 class "%reg%" "%classes%\CLSID\%id%"
call :%1 application "%reg%" "%classes%\AppID\%id%"
call :%1 name "%reg%" "%classes%\QmZentrel.Zentrel"
call :%1 library "%reg%" "%classes%\TypeLib\%library_id%"
rem registration_test plays a user who has these himself; left there they would hide the machine's.
call :%1 class_user "%reg%" "%user_classes%\CLSID\%id%"
call :%1 name_user "%reg%" "%user_classes%\QmZentrel.Zentrel"
call :%1 library_user "%reg%" "%user_classes%\TypeLib\%library_id%"
call :%1 interface_user "%reg%" "%user_classes%\Interface\%interface_id%"
call :%1 catalog "%reg%" "HKLM\Software\QuenmoorComms"
call :%1 handler "%reg%" "%classes%\QuenmoorCommunications.Error"
call :%1 handler_user "%reg%" "%user_classes%\QuenmoorCommunications.Error"
call :%1 handler_class "%reg%" "%classes%\CLSID\{7D0A3C52-61E4-4B0F-9A35-2FC8115E70D4}"
call :each_interface %1 "%reg%" interface
if "%wide%"=="yes" call :each_interface %1 "%reg_64%" interface_64
exit /b 0

:each_interface
call :%1 %3_1 %2 "%classes%\Interface\%interface_id%"
call :%1 %3_2 %2 "%classes%\Interface\{69D54976-4B55-493E-B5FF-E27DC45E2CA6}"
call :%1 %3_3 %2 "%classes%\Interface\{34776E40-5CE5-464C-A485-A5770C1558D8}"
call :%1 %3_4 %2 "%classes%\Interface\{1552820B-733E-46B0-9DA2-0D6E4198EAC6}"
call :%1 %3_5 %2 "%classes%\Interface\{E4301989-BFB8-4B9E-B236-A9C26FDA881C}"
exit /b 0

rem Nothing may be taken away that could not be put aside: then %lost% says what.
:keep
"%reg%" query HKLM\Software\Microsoft >nul 2>&1
if errorlevel 1 (
  set lost=all
  echo What is registered cannot be put aside: %reg% is not allowed to run here.
  echo NOT RUN: reg.exe does not work here, as where a policy forbids it >> "%report%"
  exit /b 0
)
if exist "%kept%" call :put_back_first
if not "%stays%"=="" exit /b 0
if not "%lost%"=="" (
  echo What an earlier run has put aside cannot be put back:%lost%. It is in the folder kept.
  echo NOT RUN: not put back from an earlier run:%lost% >> "%report%"
  exit /b 0
)
set "into=%kept%.part"
if exist "%into%" rd /s /q "%into%"
md "%into%"
call :each keep_key
if not "%lost%"=="" (
  echo What is registered cannot be put aside:%lost%
  echo NOT RUN: not put aside:%lost% >> "%report%"
  exit /b 0
)
rem Whole from here on.
ren "%into%" kept
if not exist "%kept%" set lost=all
if not "%lost%"=="" echo NOT RUN: nothing can be put aside in this folder >> "%report%"
exit /b 0

:keep_key
"%~2" query "%~3" >nul 2>&1
if errorlevel 1 exit /b 0
"%~2" export "%~3" "%into%\%1.reg" /y >nul 2>&1
if errorlevel 1 set lost=%lost% %1
exit /b 0

rem Since the run was broken off somebody may have installed or registered anew.
:put_back_first
set restarted=yes
set number=0
:next_number
set /a number=number+1
set "into=%kept%.before.%number%"
if exist "%into%" goto next_number
md "%into%"
call :each keep_key
if not "%lost%"=="" exit /b 0
echo PUT BACK FIRST: what a run that was broken off had put aside; what was there is in kept.before.%number% >> "%report%"
echo An earlier run was broken off. What it had put aside is put back now; what is registered in its
echo place is in the folder kept.before.%number%, to be imported by hand if it is the newer one.
call :put_back
exit /b 0

:put_back
call :each put_key_back
if "%lost%"=="" call :remove_kept
exit /b 0

rem Else the next run would put it back, whatever has been registered until then. It goes as a whole:
rem from a part of it only a part would come back.
:remove_kept
if exist "%kept%.done" rd /s /q "%kept%.done" >nul 2>&1
ren "%kept%" kept.done >nul 2>&1
if exist "%kept%" (
  set stays=yes
  echo The folder kept cannot be removed: close what has it open, and delete it before the next run.
  echo NOT REMOVED: the folder kept, all of which is back in its place >> "%report%"
  exit /b 0
)
rd /s /q "%kept%.done" >nul 2>&1
exit /b 0

:put_key_back
"%~2" query "%~3" >nul 2>&1
if errorlevel 1 goto import_key
"%~2" delete "%~3" /f >nul 2>&1
if errorlevel 1 set lost=%lost% %1
:import_key
if not exist "%kept%\%1.reg" exit /b 0
"%~2" import "%kept%\%1.reg" >nul 2>&1
if errorlevel 1 set lost=%lost% %1
exit /b 0
