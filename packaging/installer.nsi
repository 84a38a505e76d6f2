; The installer of QmZentrel. tools/release compiles it, with
;   VERSION  of the release
;   FILES    the folder with what is installed
;   LISTS    the folder with install_files.nsh and delete_files.nsh, which name each of them
;   OUTPUT   the file to make
;
;   QmZentrel-VERSION-setup.exe [/S] [/AllUsers|/CurrentUser] [/catalog] [/reports] [/surrogate]
;       [/D=FOLDER]
;
; Exit codes: 0 installed, 1 cancelled, 3 one of its files is in use, 4 it could not be registered (or
; /AllUsers without the rights for it), 5 a folder or file could not be written. The uninstaller has the
; same. For one user /catalog, /reports and /surrogate are passed over.
Unicode true
SetCompressor /SOLID lzma
; The same files make the same installer, whenever it is compiled.
SetDateSave off
ManifestDPIAware true

!define EXIT_IN_USE 3
!define EXIT_NOT_REGISTERED 4
!define EXIT_NOT_WRITTEN 5
!define UNINSTALL_KEYS "Software\Microsoft\Windows\CurrentVersion\Uninstall"
!define UNINSTALL_KEY "${UNINSTALL_KEYS}\QmZentrel"
!define CATALOG "SOFTWARE\QuenmoorComms"

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

Name "QmZentrel ${VERSION}"
OutFile "${OUTPUT}"
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

; A file that a program has loaded, or that is open, cannot be written to.
!macro EndWhileInUse file
  ${If} ${FileExists} "${file}"
    ClearErrors
    FileOpen $0 "${file}" a
    ${If} ${Errors}
      !insertmacro EndWith ${EXIT_IN_USE} "${file} is in use, or may not be written to. Close the programs that use it, and start again."
    ${EndIf}
    FileClose $0
  ${EndIf}
!macroend

; Whatever of a release can be in use.
!macro EndWhileAnyInUse folder
  !insertmacro EndWhileInUse "${folder}\QmZentrel.dll"
  !insertmacro EndWhileInUse "${folder}\QmZentrelReports.dll"
  !insertmacro EndWhileInUse "${folder}\zentrel.exe"
  !insertmacro EndWhileInUse "${folder}\programs\catalog_checker.exe"
  !insertmacro EndWhileInUse "${folder}\programs\virtual_box.exe"
  !insertmacro EndWhileInUse "${folder}\QMZENTREL.chm"
!macroend

!macro ExportCatalog part file
  nsExec::Exec '"$SYSDIR\reg.exe" export "HKLM\${CATALOG}\${part}" "${file}" /y'
  Pop $0
!macroend

Section "QmZentrel" SecComponent
  SectionIn RO
  Call RemoveEarlier
  SetOutPath "$INSTDIR"
  ClearErrors
  !include "${LISTS}/install_files.nsh"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  ${If} ${Errors}
    !insertmacro EndWith ${EXIT_NOT_WRITTEN} "The files could not be written to $INSTDIR. Choose another folder, or start as an administrator."
  ${EndIf}
  ${If} $MultiUser.InstallMode == "AllUsers"
    ; In a process of its own: a DLL that registers itself stays loaded.
    ExecWait '"$SYSDIR\regsvr32.exe" /s "$INSTDIR\QmZentrel.dll"' $0
    ${If} $0 != 0
      ; As it was before, or nearly so: the files of an earlier version have gone.
      !include "${LISTS}/delete_files.nsh"
      Delete "$INSTDIR\uninstall.exe"
      RMDir "$INSTDIR"
      !insertmacro EndWith ${EXIT_NOT_REGISTERED} "QmZentrel could not be registered (regsvr32 ended with $0). Start as an administrator."
    ${EndIf}
  ${EndIf}
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayName" "QmZentrel"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "Publisher" "Quenmoor Communications"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode'
  WriteRegStr SHCTX "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /$MultiUser.InstallMode /S'
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

; What only a machine can have: the registry keys are the machine's.
Section /o "Sample catalog" SecCatalog
  StrCpy $1 ""
  EnumRegKey $1 HKLM "${CATALOG}\Kernel" 0
  ${If} $1 == ""
    EnumRegKey $1 HKLM "${CATALOG}\TELIC2" 0
  ${EndIf}
  ${If} $1 == ""
    nsExec::Exec '"$SYSDIR\reg.exe" import "$INSTDIR\examples\catalog\catalog.reg"'
    Pop $0
    ${If} $0 != 0
      !insertmacro EndWith ${EXIT_NOT_REGISTERED} "The sample catalog could not be imported (reg ended with $0)."
    ${EndIf}
    ; What it was like, so that the uninstaller sees whether somebody has changed it.
    CreateDirectory "$INSTDIR\catalog"
    !insertmacro ExportCatalog "Kernel" "$INSTDIR\catalog\Kernel.reg"
    !insertmacro ExportCatalog "TELIC2" "$INSTDIR\catalog\TELIC2.reg"
    !insertmacro ExportCatalog "Zentrel\Modes" "$INSTDIR\catalog\Modes.reg"
    !insertmacro ExportCatalog "Zentrel\Types" "$INSTDIR\catalog\Types.reg"
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "Catalog" 1
  ${Else}
    DetailPrint "There is a catalog already; it stays as it is."
  ${EndIf}
SectionEnd

Section /o "Reports in a file" SecReports
  ExecWait '"$SYSDIR\regsvr32.exe" /s "$INSTDIR\QmZentrelReports.dll"' $0
  ${If} $0 != 0
    !insertmacro EndWith ${EXIT_NOT_REGISTERED} "The error handler could not be registered (regsvr32 ended with $0)."
  ${EndIf}
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "Reports" 1
SectionEnd

Section /o "64-bit programs" SecSurrogate
  ExecWait '"$SYSDIR\regsvr32.exe" /s /n /i:surrogate "$INSTDIR\QmZentrel.dll"' $0
  ${If} $0 != 0
    !insertmacro EndWith ${EXIT_NOT_REGISTERED} "QmZentrel could not be opened to 64-bit programs (regsvr32 ended with $0)."
  ${EndIf}
  WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "Surrogate" 1
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

; Whenever it has been said for whom.
Function OfferParts
  !insertmacro OfferPart ${SecCatalog} "catalog" "Catalog"
  !insertmacro OfferPart ${SecReports} "reports" "Reports"
  !insertmacro OfferPart ${SecSurrogate} "surrogate" "Surrogate"
FunctionEnd

Function .onInit
  !insertmacro EndWithoutRights ""
  ; The folder of the command line, which the next line would replace.
  StrCpy $6 $INSTDIR
  !insertmacro MULTIUSER_INIT
  ${If} $6 != ""
    StrCpy $INSTDIR $6
  ${EndIf}
  Call OfferParts
FunctionEnd

; An earlier version goes first, wherever it is.
Function RemoveEarlier
  !insertmacro EndWhileAnyInUse "$INSTDIR"
  ReadRegStr $1 SHCTX "${UNINSTALL_KEY}" "InstallLocation"
  ${If} $1 == ""
    Return
  ${EndIf}
  !insertmacro EndWhileAnyInUse "$1"
  ; From its place, so that it can be waited for; it leaves itself behind.
  ExecWait '"$1\uninstall.exe" /S /$MultiUser.InstallMode _?=$1' $0
  ${If} $0 != 0
    !insertmacro EndWith $0 "The version in $1 could not be removed (its uninstaller ended with $0)."
  ${EndIf}
  Delete "$1\uninstall.exe"
  RMDir "$1"
FunctionEnd

Section "un.QmZentrel"
  !insertmacro EndWhileAnyInUse "$INSTDIR"
  ReadRegDWORD $1 SHCTX "${UNINSTALL_KEY}" "Reports"
  ${If} $1 = 1
    ExecWait '"$SYSDIR\regsvr32.exe" /s /u "$INSTDIR\QmZentrelReports.dll"'
  ${EndIf}
  ${If} $MultiUser.InstallMode == "AllUsers"
    ExecWait '"$SYSDIR\regsvr32.exe" /s /u "$INSTDIR\QmZentrel.dll"' $0
    ${If} $0 != 0
      !insertmacro EndWith ${EXIT_NOT_REGISTERED} "QmZentrel could not be taken out of the registry (regsvr32 ended with $0). Start as an administrator."
    ${EndIf}
  ${EndIf}
  ReadRegDWORD $1 SHCTX "${UNINSTALL_KEY}" "Catalog"
  ${If} $1 = 1
    Call un.RemoveCatalog
  ${EndIf}
  !include "${LISTS}/delete_files.nsh"
  Delete "$INSTDIR\uninstall.exe"
  RMDir "$INSTDIR"
  ${If} $MultiUser.InstallMode == "CurrentUser"
    ; Made for a user's first program, and gone with the last: only an empty one can be removed.
    GetFullPathName $0 "$INSTDIR\.."
    RMDir "$0"
  ${EndIf}
  DeleteRegKey SHCTX "${UNINSTALL_KEY}"
  ${If} $MultiUser.InstallMode == "CurrentUser"
    DeleteRegKey /ifempty HKCU "${UNINSTALL_KEYS}"
  ${EndIf}
SectionEnd

; $1 becomes 0 when the part of the catalog is not as it was installed.
!macro CompareCatalog part file
  !insertmacro ExportCatalog "${part}" "$PLUGINSDIR\now.reg"
  FileOpen $2 "$INSTDIR\catalog\${file}" r
  FileOpen $3 "$PLUGINSDIR\now.reg" r
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
  FileClose $2
  FileClose $3
!macroend

; The catalog goes only as it came: one that somebody has changed is theirs.
Function un.RemoveCatalog
  InitPluginsDir
  StrCpy $1 1
  !insertmacro CompareCatalog "Kernel" "Kernel.reg"
  !insertmacro CompareCatalog "TELIC2" "TELIC2.reg"
  !insertmacro CompareCatalog "Zentrel\Modes" "Modes.reg"
  !insertmacro CompareCatalog "Zentrel\Types" "Types.reg"
  ${If} $1 = 1
    DeleteRegKey HKLM "${CATALOG}\Kernel"
    DeleteRegKey HKLM "${CATALOG}\TELIC2"
    DeleteRegKey HKLM "${CATALOG}\Zentrel\Modes"
    DeleteRegKey HKLM "${CATALOG}\Zentrel\Types"
    DeleteRegKey /ifempty HKLM "${CATALOG}\Zentrel"
    DeleteRegKey /ifempty HKLM "${CATALOG}"
  ${Else}
    DetailPrint "The catalog has been changed since; it stays."
  ${EndIf}
  RMDir /r "$INSTDIR\catalog"
FunctionEnd

Function un.onInit
  !insertmacro EndWithoutRights "un."
  !insertmacro MULTIUSER_UNINIT
FunctionEnd
