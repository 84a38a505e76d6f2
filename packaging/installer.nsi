; The installer of QmZentrel. tools/installer compiles it, with
;   VERSION  of the release
;   FILES    the folder with what is installed
;   LISTS    the folder with files.nsh, folders.nsh and folders_last_first.nsh, which name all of it
;   LONGEST  the longest of those names
;   SIZE     of all of it, in KB
;   SIGN     the program that signs the uninstaller
;   OUTPUT   the file to make
;
;   QmZentrel-VERSION-setup.exe [/S] [/AllUsers|/CurrentUser] [/catalog] [/reports] [/surrogate]
;       [/older] [/D=FOLDER]
;
; Exit codes: 0 installed, 1 cancelled, 3 one of its files is in use, 4 it could not be registered (or
; /AllUsers without the rights for it), 5 a folder or file could not be written, 6 a newer version is
; installed (/older replaces it). The uninstaller has the same. For one user /catalog, /reports and
; /surrogate are ignored.
Unicode true
SetCompressor /SOLID lzma
; The same files make the same installer, whenever it is compiled.
SetDateSave off
ManifestDPIAware true

!define EXIT_IN_USE 3
!define EXIT_NOT_REGISTERED 4
!define EXIT_NOT_WRITTEN 5
!define EXIT_NEWER 6
!define UNINSTALL_KEYS "Software\Microsoft\Windows\CurrentVersion\Uninstall"
!define UNINSTALL_KEY "${UNINSTALL_KEYS}\QmZentrel"
!define CATALOG "SOFTWARE\QuenmoorComms"
; In the start menu of all users, or of the one it is for.
!define MENU "$SMPROGRAMS\QmZentrel"
!define PROMPT "${MENU}\Zentrel command prompt.lnk"
!define HELP "${MENU}\QmZentrel help.lnk"
; Its unnamed value is the simulator's switch.
!define SIMULATOR "${CATALOG}\QMC Software Library\Zentrel\Simulator"
; Before, "DeleteRegKey /ifempty" took keys that have values.
!if ${NSIS_PACKEDVERSION} < 0x03008000
  !error "NSIS 3.08 or later is needed."
!endif
!define CLASSES "SOFTWARE\Classes"
!define HANDLER "QuenmoorCommunications.Error"
; The longest name of a file, with the zero behind it, that Windows 7 takes.
!define LONGEST_PATH 260

; Who may installs for the machine, anybody else for himself.
!define MULTIUSER_EXECUTIONLEVEL Highest
!define MULTIUSER_MUI
!define MULTIUSER_INSTALLMODE_COMMANDLINE
!define MULTIUSER_INSTALLMODE_INSTDIR "QmZentrel"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_KEY "${UNINSTALL_KEY}"
!define MULTIUSER_INSTALLMODE_INSTDIR_REGISTRY_VALUENAME "InstallLocation"
!include MultiUser.nsh
!include MUI2.nsh
!include FileFunc.nsh
!include LogicLib.nsh
!include Sections.nsh
!include x64.nsh
!include WordFunc.nsh

Name "QmZentrel ${VERSION}"
OutFile "${OUTPUT}"
; Its last part is what a folder that is browsed for gets appended. Nobody chooses the whole of it: it
; says that the command line has no folder.
!define NO_FOLDER "$SYSDIR\QmZentrel"
InstallDir "${NO_FOLDER}"
!uninstfinalize '"${SIGN}" "%1"' = 0
BrandingText "QmZentrel ${VERSION}"
VIProductVersion "${VERSION}.0"
VIAddVersionKey "ProductName" "QmZentrel"
VIAddVersionKey "CompanyName" "Quenmoor Communications"
VIAddVersionKey "FileDescription" "Installer of QmZentrel"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "LegalCopyright" ""

!define MUI_ABORTWARNING
!define MULTIUSER_PAGE_CUSTOMFUNCTION_LEAVE OfferParts
!insertmacro MULTIUSER_PAGE_INSTALLMODE
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
Var NextSteps
; What to do next. Nothing is ticked: who upgrades knows it already.
!define MUI_PAGE_CUSTOMFUNCTION_PRE ChooseNextSteps
!define MUI_FINISHPAGE_TITLE "QmZentrel is installed"
!define MUI_FINISHPAGE_TEXT $NextSteps
!define MUI_FINISHPAGE_TEXT_LARGE
!define MUI_FINISHPAGE_RUN
!define MUI_FINISHPAGE_RUN_TEXT "Open the Zentrel command prompt"
!define MUI_FINISHPAGE_RUN_FUNCTION OpenPrompt
!define MUI_FINISHPAGE_RUN_NOTCHECKED
!define MUI_FINISHPAGE_SHOWREADME
!define MUI_FINISHPAGE_SHOWREADME_TEXT "Show the help"
!define MUI_FINISHPAGE_SHOWREADME_FUNCTION OpenHelp
!define MUI_FINISHPAGE_SHOWREADME_NOTCHECKED
!define MUI_FINISHPAGE_NOREBOOTSUPPORT
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; Ends with an exit code and, unless silent, a word about the reason.
!macro EndWith code reason
  MessageBox MB_OK|MB_ICONSTOP "${reason}" /SD IDOK
  SetErrorLevel ${code}
  Quit
!macroend

; Silent means that nobody is there to be told, as MultiUser.nsh would.
!macro EndWithoutRights un
  ${If} ${Silent}
    UserInfo::GetAccountType
    Pop $1
    ${${un}GetParameters} $0
    ClearErrors
    ${${un}GetOptions} $0 "/AllUsers" $0
    ${IfNot} ${Errors}
    ${AndIf} $1 != "Admin"
    ${AndIf} $1 != "Power"
      SetErrorLevel ${EXIT_NOT_REGISTERED}
      Quit
    ${EndIf}
  ${EndIf}
!macroend

; Inserts the macro for each line of a list.
!macro ForEach list macro
  !define EACH ${macro}
  !include "${LISTS}/${list}.nsh"
  !undef EACH
!macroend

; Where its files are while they are written: beside those of an earlier version, which go only when
; all of the new ones are there.
!define UNFINISHED "$INSTDIR\QmZentrel.new"

; The installer's folder of the command line, or empty; the uninstaller's own folder.
Var Folder
; The folder of the installation that the registry knows.
Var Earlier
; The folder whose files are looked at.
Var Place
; Glances at a file in use that are left.
Var Patience
; The uppermost folder that had to be made, or empty.
Var FirstFolder
; The library that the class was registered from, where it was none of an installation.
Var OtherLibrary
; For whom the parts were offered last.
Var OfferedTo

; Another way to write a folder would be another folder: the library is registered by its plain name.
!macro MakePlain folder
  StrCpy $0 ${folder}
  System::Call 'kernel32::GetFullPathNameW(w r0, i ${NSIS_MAX_STRLEN}, w .r2, p 0)'
  StrCpy ${folder} $2
  StrCpy $0 $2 "" -1
  StrLen $2 $2
  ${If} $0 == "\"
  ${AndIf} $2 > 3
    StrCpy ${folder} ${folder} -1
  ${EndIf}
!macroend
; Two at a time would take each other's files away.
!macro EndWhileAnother
  System::Call 'kernel32::CreateMutexW(p 0, i 0, w "Global\QmZentrel.setup") p .r0 ?e'
  Pop $0
  ${If} $0 <> 0
    !insertmacro EndWith ${EXIT_IN_USE} "The installer is at work already."
  ${EndIf}
!macroend
!macro EndWhileInUse file
  Push "$Place\${file}"
  Call ${un}EndWhileInUse
!macroend
!macro EndWhereFileIs file
  Push "$Place\${file}"
  Call EndWhereFileIs
!macroend
!macro DeleteFile file
  Delete "$Place\${file}"
!macroend
!macro RemoveFolder folder
  RMDir "$Place\${folder}"
!macroend

; What installer and uninstaller both do.
!macro CommonFunctions un_
  !define un "${un_}"

  ; A file that a program has loaded, or that is open, cannot be written to. A scanner that has just
  ; seen it come lets go of it soon.
  Function ${un}EndWhileInUse
    Pop $1
    ${If} ${FileExists} "$1"
      ${Do}
        ClearErrors
        FileOpen $0 "$1" a
        ${IfNot} ${Errors}
          FileClose $0
          ${ExitDo}
        ${EndIf}
        ${If} $Patience > 0
          IntOp $Patience $Patience - 1
          Sleep 300
        ${Else}
          MessageBox MB_RETRYCANCEL|MB_ICONSTOP "$1 is in use, or may not be written to. Close the programs that use it, and try again." /SD IDCANCEL IDRETRY +3
          SetErrorLevel ${EXIT_IN_USE}
          Quit
        ${EndIf}
      ${Loop}
    ${EndIf}
  FunctionEnd

  ; Whatever of a release can be in use, in $Place.
  Function ${un}EndWhileAnyInUse
    StrCpy $Patience 10
    !insertmacro ForEach files EndWhileInUse
  FunctionEnd

  Function ${un}DeleteFiles
    !insertmacro ForEach files DeleteFile
    !insertmacro ForEach folders_last_first RemoveFolder
  FunctionEnd

  ; $INSTDIR and the folders above it that were made for it, as far as they are empty.
  Function ${un}RemoveFolders
    ${If} $FirstFolder != ""
      StrCpy $0 $INSTDIR
      ${Do}
        RMDir "$0"
        ${If} $0 == $FirstFolder
          ${ExitDo}
        ${EndIf}
        ${${un}GetParent} "$0" $0
      ${LoopUntil} $0 == ""
    ${EndIf}
  FunctionEnd

  ; $1: the library that a name's class is registered from, or empty.
  Function ${un}FindServer
    Pop $1
    ReadRegStr $1 HKLM "${CLASSES}\$1\CLSID" ""
    ${If} $1 != ""
      ReadRegStr $1 HKLM "${CLASSES}\CLSID\$1\InprocServer32" ""
    ${EndIf}
  FunctionEnd

  ; A simulator that somebody has forgotten answers in place of a box.
  Function ${un}WarnOfSimulator
    ReadRegStr $0 HKLM "${SIMULATOR}" ""
    ${If} $0 <> 0
      StrCpy $0 "The simulator is switched on for this machine: programs ask a dialog instead of a box."
      DetailPrint $0
      MessageBox MB_OK|MB_ICONEXCLAMATION "$0 To switch it off, set the unnamed value of HKEY_LOCAL_MACHINE\${SIMULATOR} to 0, in the registry of 32-bit programs." /SD IDOK
    ${EndIf}
  FunctionEnd

  !undef un
!macroend
!insertmacro CommonFunctions ""
!insertmacro CommonFunctions "un."

; $0: what regsvr32 has answered; 0 is success. In a process of its own: a DLL that registers itself
; stays loaded.
!macro Register parameters
  StrCpy $0 "nothing"
  ExecWait '"$SYSDIR\regsvr32.exe" /s ${parameters}' $0
!macroend

!macro FindServer un name
  Push "${name}"
  Call ${un}FindServer
!macroend

; Inserts the macro for each part of the catalog, with the name of a file for what it was like when it
; was installed.
!macro ForEachPart macro
  !insertmacro ${macro} "Kernel" "Kernel.reg"
  !insertmacro ${macro} "TELIC2" "TELIC2.reg"
  !insertmacro ${macro} "Zentrel\Modes" "Modes.reg"
  !insertmacro ${macro} "Zentrel\Types" "Types.reg"
!macroend
; $0: 0 is success.
!macro ExportPart part file
  nsExec::Exec '"$SYSDIR\reg.exe" export "HKLM\${CATALOG}\${part}" "${file}" /y'
  Pop $0
!macroend
; $1 becomes 1 when the part has a key or a value.
!macro LookIntoPart part file
  ClearErrors
  EnumRegKey $0 HKLM "${CATALOG}\${part}" 0
  ${IfNot} ${Errors}
    StrCpy $1 1
  ${EndIf}
  ClearErrors
  EnumRegValue $0 HKLM "${CATALOG}\${part}" 0
  ${IfNot} ${Errors}
    StrCpy $1 1
  ${EndIf}
!macroend
!macro KeepPart part file
  !insertmacro ExportPart "${part}" "$INSTDIR\catalog\${file}"
!macroend

Section "QmZentrel" SecComponent
  SectionIn RO
  AddSize ${SIZE}
  !insertmacro MakePlain $INSTDIR
  ReadRegStr $Earlier SHCTX "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $Earlier != ""
    !insertmacro MakePlain $Earlier
  ${EndIf}
  Call EndWhileNewer
  StrCpy $Place $INSTDIR
  ${If} $Earlier != $INSTDIR
    !insertmacro ForEach files EndWhereFileIs
    !insertmacro EndWhereFileIs "uninstall.exe"
  ${EndIf}
  Call EndWhileAnyInUse
  ${If} $Earlier != ""
    StrCpy $Place $Earlier
    Call EndWhileAnyInUse
  ${EndIf}
  Call FindFirstFolder
  Call WriteUnfinished
  Call RemoveEarlier
  ; From here on the uninstaller can take out whatever is there, and the installer, started again,
  ; knows what was chosen.
  Call WriteEntry
  WriteUninstaller "$INSTDIR\uninstall.exe"
  Call TakeUnfinished
  ${If} ${Errors}
    !insertmacro EndWith ${EXIT_NOT_WRITTEN} "Some files could not be put in their place in $INSTDIR, the others are there. Start again."
  ${EndIf}
  Call DeleteUnfinished
  ${If} $MultiUser.InstallMode == "AllUsers"
    !insertmacro Register '"$INSTDIR\QmZentrel.dll"'
    ${If} $0 != 0
      ; As it was before, or nearly so: an earlier version has gone.
      StrCpy $9 $0
      StrCpy $Place $INSTDIR
      Call DeleteFiles
      Delete "$INSTDIR\uninstall.exe"
      Call RemoveFolders
      DeleteRegKey SHCTX "${UNINSTALL_KEY}"
      !insertmacro EndWith ${EXIT_NOT_REGISTERED} "QmZentrel could not be registered (regsvr32 ended with $9). Start as an administrator."
    ${EndIf}
  ${EndIf}
  Call MakeShortcuts
SectionEnd

; The prompt is a 32-bit one, in which the names of Windows' own tools (cscript, regsvr32, reg) are those
; that the component needs; its folder is the installation's, where not every cmd looks unasked.
Function MakeShortcuts
  StrCpy $0 $SYSDIR
  ${If} ${RunningX64}
    StrCpy $0 "$WINDIR\SysWOW64"
  ${EndIf}
  CreateDirectory "${MENU}"
  SetOutPath $INSTDIR
  CreateShortcut "${PROMPT}" "$0\cmd.exe" '/k "echo zentrel --help lists the commands. These are the serial ports:& .\zentrel ports"'
  CreateShortcut "${HELP}" "$INSTDIR\QMZENTREL.chm"
  ; What is started from here must not keep that folder.
  SetOutPath $SYSDIR
FunctionEnd

; What only a machine can have: the registry keys are the machine's.
Section /o "Sample catalog" SecCatalog
  StrCpy $1 0
  !insertmacro ForEachPart LookIntoPart
  ${If} $1 = 0
    nsExec::Exec '"$SYSDIR\reg.exe" import "$INSTDIR\examples\catalog\catalog.reg"'
    Pop $0
    ${If} $0 != 0
      !insertmacro EndWith ${EXIT_NOT_REGISTERED} "The sample catalog could not be imported (reg ended with $0)."
    ${EndIf}
    ; What it was like, so that the uninstaller sees whether somebody has changed it.
    CreateDirectory "$INSTDIR\catalog"
    !insertmacro ForEachPart KeepPart
  ${Else}
    DetailPrint "There is a catalog already; it stays as it is."
  ${EndIf}
SectionEnd

Section /o "Reports in a file" SecReports
  ; The name of the error handler may be another's, who gets it back.
  !insertmacro FindServer "" "${HANDLER}"
  ${If} $1 != "$INSTDIR\QmZentrelReports.dll"
    CreateDirectory "$INSTDIR\before"
    nsExec::Exec '"$SYSDIR\reg.exe" export "HKLM\${CLASSES}\${HANDLER}" "$INSTDIR\before\handler.reg" /y'
    Pop $0
    RMDir "$INSTDIR\before"
  ${EndIf}
  !insertmacro Register '"$INSTDIR\QmZentrelReports.dll"'
  ${If} $0 != 0
    !insertmacro EndWith ${EXIT_NOT_REGISTERED} "The error handler could not be registered (regsvr32 ended with $0)."
  ${EndIf}
SectionEnd

Section /o "64-bit programs" SecSurrogate
  !insertmacro Register '/n /i:surrogate "$INSTDIR\QmZentrel.dll"'
  ${If} $0 != 0
    !insertmacro EndWith ${EXIT_NOT_REGISTERED} "QmZentrel could not be opened to 64-bit programs (regsvr32 ended with $0)."
  ${EndIf}
SectionEnd

; The sign before its name keeps it out of sight.
Section "-Last"
  Call WarnOfSimulator
SectionEnd

LangString DESC_SecComponent ${LANG_ENGLISH} "The component with its documentation, programs and the folder to develop with. For one user it cannot be registered: programs use it without, by the manifest in sdk\registration_free."
LangString DESC_SecCatalog ${LANG_ENGLISH} "Names for interfaces, intervals and messages, where this machine has none."
LangString DESC_SecReports ${LANG_ENGLISH} "An error handler that keeps reports of faults in a file, instead of a message box."
LangString DESC_SecSurrogate ${LANG_ENGLISH} "Lets 64-bit programs use the component, in a process of the system's."
!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro MUI_DESCRIPTION_TEXT ${SecComponent} $(DESC_SecComponent)
  !insertmacro MUI_DESCRIPTION_TEXT ${SecCatalog} $(DESC_SecCatalog)
  !insertmacro MUI_DESCRIPTION_TEXT ${SecReports} $(DESC_SecReports)
  !insertmacro MUI_DESCRIPTION_TEXT ${SecSurrogate} $(DESC_SecSurrogate)
!insertmacro MUI_FUNCTION_DESCRIPTION_END

; A part of the machine's is chosen by its word on the command line, or because an earlier version had
; it. An installation for one user cannot have it.
!macro OfferPart section word value
  ${If} $MultiUser.InstallMode == "CurrentUser"
    !insertmacro UnselectSection ${section}
    !insertmacro SetSectionFlag ${section} ${SF_RO}
  ${Else}
    !insertmacro ClearSectionFlag ${section} ${SF_RO}
    ${GetParameters} $0
    ClearErrors
    ${GetOptions} $0 "/${word}" $1
    ${IfNot} ${Errors}
      !insertmacro SelectSection ${section}
    ${EndIf}
    ReadRegDWORD $1 SHCTX "${UNINSTALL_KEY}" "${value}"
    ${If} $1 = 1
      !insertmacro SelectSection ${section}
    ${EndIf}
  ${EndIf}
!macroend

; Whenever it has been said for whom, which leads to another folder. What has been ticked stays, unless
; it is for somebody else.
Function OfferParts
  ${If} $Folder != ""
    StrCpy $INSTDIR $Folder
  ${EndIf}
  ${If} $OfferedTo == $MultiUser.InstallMode
    Return
  ${EndIf}
  StrCpy $OfferedTo $MultiUser.InstallMode
  !insertmacro OfferPart ${SecCatalog} "catalog" "Catalog"
  !insertmacro OfferPart ${SecReports} "reports" "Reports"
  !insertmacro OfferPart ${SecSurrogate} "surrogate" "Surrogate"
  ${IfNot} ${RunningX64}
    ; Without a name it is not shown.
    SectionSetText ${SecSurrogate} ""
  ${EndIf}
FunctionEnd

Function .onInit
  !insertmacro EndWithoutRights ""
  !insertmacro EndWhileAnother
  Call FolderOfCommandLine
  StrCpy $Folder $INSTDIR
  !insertmacro MULTIUSER_INIT
  Call OfferParts
FunctionEnd

; A disk that is full ends the installation within a file.
Function .onInstFailed
  Call DeleteUnfinished
  SetErrorLevel ${EXIT_NOT_WRITTEN}
FunctionEnd

Function ChooseNextSteps
  StrCpy $NextSteps 'The start menu has a "Zentrel command prompt". In it "zentrel ports" lists the serial ports, "zentrel info --port 7" asks the box on COM7.$\r$\n$\r$\n'
  ${If} $MultiUser.InstallMode == "AllUsers"
    StrCpy $NextSteps '$NextStepsWithout a box the simulator plays one: the help says under "Working without a box" how to switch it on.'
  ${Else}
    StrCpy $NextSteps '$NextStepsOther programs and scripts do not find the component: for one user it is not registered. Install it for the machine where they need it.'
  ${EndIf}
FunctionEnd

; By the desktop's own program, so that what opens has the rights of the person in front of it and not
; those of the installer.
Function OpenPrompt
  Exec '"$WINDIR\explorer.exe" "${PROMPT}"'
FunctionEnd
Function OpenHelp
  Exec '"$WINDIR\explorer.exe" "$INSTDIR\QMZENTREL.chm"'
FunctionEnd

; $INSTDIR: the folder of the command line, or empty. NSIS takes none that has quotation marks, and
; nobody who is silent would notice.
Function FolderOfCommandLine
  ${If} $INSTDIR == "${NO_FOLDER}"
    System::Call 'kernel32::GetCommandLineW() t .r0'
    ${StrStr} $1 $0 "/D="
    StrCpy $1 $1 "" 3
    StrCpy $0 $1 1
    ${If} $0 == '"'
      StrCpy $1 $1 "" 1
    ${EndIf}
    ${WordFind} $1 '"' "+1" $INSTDIR
    StrCpy $0 $1 1 1
    ${If} $1 != ""
    ${AndIf} $0 != ":"
    ${AndIf} $0 != "\"
      !insertmacro EndWith ${EXIT_NOT_WRITTEN} "The folder has to be named in full, after a drive: $1"
    ${EndIf}
  ${EndIf}
FunctionEnd

; An older one would take the newer one's place unnoticed, and break the programs that need it.
Function EndWhileNewer
  ReadRegStr $0 SHCTX "${UNINSTALL_KEY}" "DisplayVersion"
  ${VersionCompare} "$0" "${VERSION}" $1
  ${GetParameters} $2
  ClearErrors
  ${GetOptions} $2 "/older" $2
  ${If} $1 = 1
  ${AndIf} ${Errors}
    MessageBox MB_YESNO|MB_ICONEXCLAMATION|MB_DEFBUTTON2 "QmZentrel $0 is installed, which is newer. Replace it by ${VERSION}?" /SD IDNO IDYES +3
    SetErrorLevel ${EXIT_NEWER}
    Quit
  ${EndIf}
FunctionEnd

; A file that no installation known here has brought is somebody's own, or another installation's.
Function EndWhereFileIs
  Pop $1
  ${If} ${FileExists} "$1"
    !insertmacro EndWith ${EXIT_NOT_WRITTEN} "$1 is there already, and was not installed for whom this is. Choose another folder."
  ${EndIf}
FunctionEnd

; A folder that was there stays.
Function FindFirstFolder
  StrCpy $FirstFolder ""
  ${If} $Earlier == $INSTDIR
    ReadRegStr $FirstFolder SHCTX "${UNINSTALL_KEY}" "FirstFolder"
  ${ElseIfNot} ${FileExists} "$INSTDIR\*.*"
    StrCpy $0 $INSTDIR
    ${Do}
      StrCpy $FirstFolder $0
      ${GetParent} "$0" $0
      ${If} ${FileExists} "$0\*.*"
        ${ExitDo}
      ${EndIf}
    ${LoopUntil} $0 == ""
  ${EndIf}
FunctionEnd

!macro MakeUnfinishedFolder folder
  CreateDirectory "${UNFINISHED}\${folder}"
!macroend
!macro WriteUnfinishedFile file
  File "/oname=${UNFINISHED}\${file}" "${FILES}/${file}"
!macroend
Function WriteUnfinished
  StrLen $0 "${UNFINISHED}\${LONGEST}"
  ${If} $0 >= ${LONGEST_PATH}
    !insertmacro EndWith ${EXIT_NOT_WRITTEN} "The name of the folder $INSTDIR is too long for the files in it. Choose another folder."
  ${EndIf}
  ClearErrors
  CreateDirectory "${UNFINISHED}"
  !insertmacro ForEach folders MakeUnfinishedFolder
  !insertmacro ForEach files WriteUnfinishedFile
  ${If} ${Errors}
    Call DeleteUnfinished
    !insertmacro EndWith ${EXIT_NOT_WRITTEN} "The files could not be written to $INSTDIR. Choose another folder, or start as an administrator."
  ${EndIf}
FunctionEnd

Function DeleteUnfinished
  StrCpy $Place "${UNFINISHED}"
  Call DeleteFiles
  RMDir "${UNFINISHED}"
  Call RemoveFolders
FunctionEnd

; An earlier version goes, wherever it is.
Function RemoveEarlier
  StrCpy $OtherLibrary ""
  ${If} $Earlier != ""
    ReadRegStr $OtherLibrary SHCTX "${UNINSTALL_KEY}" "OtherLibrary"
    ; From another place, so that it can be waited for and be deleted.
    InitPluginsDir
    ClearErrors
    CopyFiles /SILENT "$Earlier\uninstall.exe" "$PLUGINSDIR\earlier.exe"
    ${IfNot} ${Errors}
      StrCpy $0 ${EXIT_NOT_WRITTEN}
      ExecWait '"$PLUGINSDIR\earlier.exe" /S /upgrade /$MultiUser.InstallMode _?=$Earlier' $0
      ${If} $0 != 0
        StrCpy $9 $0
        Call DeleteUnfinished
        !insertmacro EndWith $9 "The version in $Earlier could not be removed (its uninstaller ended with $9)."
      ${EndIf}
    ${EndIf}
  ${EndIf}
  !insertmacro FindServer "" "QmZentrel.Zentrel"
  ${If} $1 != "$Earlier\QmZentrel.dll"
  ${AndIf} $1 != "$INSTDIR\QmZentrel.dll"
    StrCpy $OtherLibrary $1
  ${EndIf}
FunctionEnd

!macro WriteChoice section value
  ${If} ${SectionIsSelected} ${section}
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "${value}" 1
  ${EndIf}
!macroend
Function WriteEntry
  DeleteRegKey SHCTX "${UNINSTALL_KEY}"
  ClearErrors
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayName" "QmZentrel"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "Publisher" "Quenmoor Communications"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode'
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode /S'
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "EstimatedSize" ${SIZE}
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoRepair" 1
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "FirstFolder" "$FirstFolder"
  ${If} $OtherLibrary != ""
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "OtherLibrary" "$OtherLibrary"
  ${EndIf}
  !insertmacro WriteChoice ${SecCatalog} "Catalog"
  !insertmacro WriteChoice ${SecReports} "Reports"
  !insertmacro WriteChoice ${SecSurrogate} "Surrogate"
FunctionEnd

!macro MakeFolder folder
  CreateDirectory "$INSTDIR\${folder}"
!macroend
!macro TakeFile file
  Push "${file}"
  Call TakeFile
!macroend
; $9 becomes 1 when it cannot be put in its place: the earlier version has gone, so that a scanner gets
; its time here, too.
Function TakeFile
  Pop $1
  ${Do}
    ClearErrors
    Delete "$INSTDIR\$1"
    Rename "${UNFINISHED}\$1" "$INSTDIR\$1"
    ${IfNot} ${Errors}
      ${ExitDo}
    ${EndIf}
    ${If} $Patience > 0
      IntOp $Patience $Patience - 1
      Sleep 300
    ${Else}
      StrCpy $9 1
      ${ExitDo}
    ${EndIf}
  ${Loop}
FunctionEnd
; The error flag says that not all is there.
Function TakeUnfinished
  StrCpy $9 0
  ${If} ${Errors}
    StrCpy $9 1
  ${EndIf}
  StrCpy $Patience 10
  !insertmacro ForEach folders MakeFolder
  !insertmacro ForEach files TakeFile
  ClearErrors
  ${If} $9 = 1
    SetErrors
  ${EndIf}
FunctionEnd

Section "un.QmZentrel"
  StrCpy $Place $INSTDIR
  Call un.EndWhileAnyInUse
  ${If} $MultiUser.InstallMode == "AllUsers"
    Call un.TakeOutOfRegistry
  ${EndIf}
  Call un.DeleteFiles
  Delete "${PROMPT}"
  Delete "${HELP}"
  RMDir "${MENU}"
  ; What an installer has left that was broken off; those of one at work stay.
  ${un.GetParameters} $0
  ClearErrors
  ${un.GetOptions} $0 "/upgrade" $0
  ${If} ${Errors}
    StrCpy $Place "${UNFINISHED}"
    Call un.DeleteFiles
    RMDir "${UNFINISHED}"
    ${If} $MultiUser.InstallMode == "AllUsers"
      Call un.SwitchSimulatorOff
    ${EndIf}
    Call un.WarnOfSimulator
  ${EndIf}
  Delete "$INSTDIR\uninstall.exe"
  ReadRegStr $FirstFolder SHCTX "${UNINSTALL_KEY}" "FirstFolder"
  DeleteRegKey SHCTX "${UNINSTALL_KEY}"
  ${If} $MultiUser.InstallMode == "CurrentUser"
    DeleteRegKey /ifempty HKCU "${UNINSTALL_KEYS}"
  ${EndIf}
  Call un.RemoveFolders
SectionEnd

; Only what is this installation's: somebody may have registered another library since. By libraries of
; the uninstaller's own: those of the installation may have gone.
Function un.TakeOutOfRegistry
  InitPluginsDir
  !insertmacro FindServer "un." "${HANDLER}"
  ${If} $1 == "$INSTDIR\QmZentrelReports.dll"
    File "/oname=$PLUGINSDIR\QmZentrelReports.dll" "${FILES}/QmZentrelReports.dll"
    !insertmacro Register '/u "$PLUGINSDIR\QmZentrelReports.dll"'
    ${If} ${FileExists} "$INSTDIR\before\handler.reg"
      nsExec::Exec '"$SYSDIR\reg.exe" import "$INSTDIR\before\handler.reg"'
      Pop $0
    ${EndIf}
  ${EndIf}
  Delete "$INSTDIR\before\handler.reg"
  RMDir "$INSTDIR\before"

  !insertmacro FindServer "un." "QmZentrel.Zentrel"
  ${If} $1 == "$INSTDIR\QmZentrel.dll"
    File "/oname=$PLUGINSDIR\QmZentrel.dll" "${FILES}/QmZentrel.dll"
    !insertmacro Register '/u "$PLUGINSDIR\QmZentrel.dll"'
    ${If} $0 != 0
      !insertmacro EndWith ${EXIT_NOT_REGISTERED} "QmZentrel could not be taken out of the registry (regsvr32 ended with $0). Start as an administrator."
    ${EndIf}
    ; The programs that had brought a library of their own find it again.
    ReadRegStr $1 SHCTX "${UNINSTALL_KEY}" "OtherLibrary"
    ${If} $1 != ""
    ${AndIf} ${FileExists} "$1"
      !insertmacro Register '"$1"'
    ${EndIf}
  ${EndIf}

  ReadRegDWORD $1 SHCTX "${UNINSTALL_KEY}" "Catalog"
  ${If} $1 = 1
    Call un.RemoveCatalog
  ${EndIf}
FunctionEnd

; $1 becomes 0 when the part of the catalog is not as it was installed, or nobody can tell.
!macro ComparePart part file
  ClearErrors
  FileOpen $2 "$INSTDIR\catalog\${file}" r
  ${If} ${Errors}
    StrCpy $1 0
  ${Else}
    !insertmacro ExportPart "${part}" "$PLUGINSDIR\${file}"
    ClearErrors
    FileOpen $3 "$PLUGINSDIR\${file}" r
    ${If} ${Errors}
    ${OrIf} $0 != 0
      StrCpy $1 0
    ${Else}
      Call un.CompareFiles
    ${EndIf}
    FileClose $3
    FileClose $2
  ${EndIf}
!macroend
; $1 becomes 0 when the open files $2 and $3 differ.
Function un.CompareFiles
  ${Do}
    ClearErrors
    FileReadWord $2 $4
    ${If} ${Errors}
      StrCpy $4 "end"
    ${EndIf}
    ClearErrors
    FileReadWord $3 $5
    ${If} ${Errors}
      StrCpy $5 "end"
    ${EndIf}
    ${If} $4 != $5
      StrCpy $1 0
      ${ExitDo}
    ${EndIf}
  ${LoopUntil} $4 == "end"
FunctionEnd
!macro DeletePart part file
  DeleteRegKey HKLM "${CATALOG}\${part}"
!macroend
!macro ForgetPart part file
  Delete "$INSTDIR\catalog\${file}"
!macroend

; The catalog goes only as it came: one that somebody has changed is theirs.
Function un.RemoveCatalog
  InitPluginsDir
  StrCpy $1 1
  !insertmacro ForEachPart ComparePart
  ${If} $1 = 1
    !insertmacro ForEachPart DeletePart
    DeleteRegKey /ifempty HKLM "${CATALOG}\Zentrel"
    DeleteRegKey /ifempty HKLM "${CATALOG}"
  ${Else}
    DetailPrint "The catalog is not as it was installed; it stays."
  ${EndIf}
  !insertmacro ForEachPart ForgetPart
  RMDir "$INSTDIR\catalog"
FunctionEnd

; Nobody would see that it is on for whatever library answers next. Values that were stored with it are
; their user's.
Function un.SwitchSimulatorOff
  DeleteRegValue HKLM "${SIMULATOR}" ""
  DeleteRegKey /ifempty HKLM "${SIMULATOR}"
  DeleteRegKey /ifempty HKLM "${CATALOG}\QMC Software Library\Zentrel"
  DeleteRegKey /ifempty HKLM "${CATALOG}\QMC Software Library"
  DeleteRegKey /ifempty HKLM "${CATALOG}"
FunctionEnd

; $1: the folder of an entry, or empty.
!macro ReadFolder root
  ReadRegStr $1 ${root} "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $1 != ""
    !insertmacro MakePlain $1
  ${EndIf}
!macroend
Function un.onInit
  !insertmacro EndWithoutRights "un."
  ${un.GetParameters} $0
  ClearErrors
  ${un.GetOptions} $0 "/upgrade" $0
  ${If} ${Errors}
    !insertmacro EndWhileAnother
  ${EndIf}
  !insertmacro MakePlain $INSTDIR
  StrCpy $Folder $INSTDIR
  !insertmacro MULTIUSER_UNINIT
  ; For whom it was installed counts, whoever starts it in the folder.
  !insertmacro ReadFolder SHCTX
  ${If} $1 != $Folder
    !insertmacro ReadFolder HKCU
    ${If} $1 == $Folder
      Call un.MultiUser.InstallMode.CurrentUser
    ${Else}
      !insertmacro ReadFolder HKLM
      ${If} $1 != $Folder
        !insertmacro EndWith ${EXIT_NOT_REGISTERED} "No installation of yours is in $Folder."
      ${EndIf}
      Call un.MultiUser.InstallMode.AllUsers
      ${If} $MultiUser.InstallMode != "AllUsers"
        !insertmacro EndWith ${EXIT_NOT_REGISTERED} "QmZentrel was installed for all users. Start as an administrator."
      ${EndIf}
    ${EndIf}
  ${EndIf}
  ; Not that of the mode.
  StrCpy $INSTDIR $Folder
FunctionEnd
