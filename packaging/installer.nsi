; The installer of the program, for one user and without administrator rights; /AllUsers installs for all users. Called by
; make_packages.py, which defines VERSION, ARCH, TARGET, ICON, SIZE_KB, OUTPUT, FILES (the generated list of what is installed),
; LICENSE where there is one, and SIGN where signing is wished.
;
; Exit codes: 0 done, 1 given up by the user, 2 a file could not be written, 32 the program is running, 740 no administrator.

Target ${TARGET}
Unicode true
SetCompressor /SOLID lzma
ManifestDPIAware true
RequestExecutionLevel user
AllowSkipFiles off
ShowInstDetails nevershow
ShowUninstDetails nevershow

!include MUI2.nsh
!include FileFunc.nsh
!include LogicLib.nsh
!include WinVer.nsh
!include ${FILES}

!define PROGRAM "NeltoStackWatcher.exe"
!define LINK "$SMPROGRAMS\Nelto StackWatcher.lnk"
!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\NeltoStackWatcher"

; The usual folders for all users, and where the other kind's entry lies: a 64-bit Windows shows each kind of program a
; registry for all users of its own.
!if ${ARCH} == "x64"
    !define USUAL_FOLDER "$PROGRAMFILES64\NeltoStackWatcher"
    !define OTHER_KINDS_FOLDER "$PROGRAMFILES32\NeltoStackWatcher"
    !define OTHER_KINDS_VIEW 32
!else
    !define USUAL_FOLDER "$PROGRAMFILES32\NeltoStackWatcher"
    !define OTHER_KINDS_FOLDER "$PROGRAMFILES64\NeltoStackWatcher"
    !define OTHER_KINDS_VIEW 64
!endif

Name "Nelto StackWatcher"
BrandingText "Nelto StackWatcher ${VERSION}"
OutFile "${OUTPUT}"
!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!define MUI_ABORTWARNING
!ifdef SIGN
    !uninstfinalize '${SIGN} "%1"'
!endif

!ifdef LICENSE
    !insertmacro MUI_PAGE_LICENSE "${LICENSE}"
!endif
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES

; Windows' language decides; the first one stands in for all others.
!insertmacro MUI_LANGUAGE "English"
!insertmacro MUI_LANGUAGE "German"

LangString TOO_OLD ${LANG_ENGLISH} "Nelto StackWatcher needs Windows 7 or later."
LangString TOO_OLD ${LANG_GERMAN} "Nelto StackWatcher braucht Windows 7 oder neuer."
LangString RUNNING ${LANG_ENGLISH} "Nelto StackWatcher is running. Please close it and try again."
LangString RUNNING ${LANG_GERMAN} "Nelto StackWatcher läuft gerade. Bitte schließen Sie es und versuchen Sie es noch einmal."
LangString NO_ADMINISTRATOR ${LANG_ENGLISH} "For all users only an administrator can do this."
LangString NO_ADMINISTRATOR ${LANG_GERMAN} "Für alle Benutzer kann das nur ein Administrator."
LangString NOT_WRITTEN ${LANG_ENGLISH} "The files could not be written to $INSTDIR."
LangString NOT_WRITTEN ${LANG_GERMAN} "Die Dateien konnten nicht nach $INSTDIR geschrieben werden."
LangString COMMENT ${LANG_ENGLISH} "Shows the live values of a flue-gas analyser"
LangString COMMENT ${LANG_GERMAN} "Zeigt die laufenden Werte eines Abgasmessgeräts"

VIProductVersion ${VERSION}.0
!macro VersionTexts language
    VIAddVersionKey /LANG=${language} "ProductName" "Nelto StackWatcher"
    VIAddVersionKey /LANG=${language} "CompanyName" "Nelto"
    VIAddVersionKey /LANG=${language} "FileVersion" "${VERSION}"
    VIAddVersionKey /LANG=${language} "ProductVersion" "${VERSION}"
    VIAddVersionKey /LANG=${language} "FileDescription" "Nelto StackWatcher (${ARCH})"
    VIAddVersionKey /LANG=${language} "LegalCopyright" "Nelto"
!macroend
!insertmacro VersionTexts ${LANG_ENGLISH}
!insertmacro VersionTexts ${LANG_GERMAN}

!macro Fail text code
    MessageBox MB_OK|MB_ICONSTOP "${text}" /SD IDOK
    SetErrorLevel ${code}
    Quit
!macroend

; What the installer and the uninstaller have in common.
!macro CommonFunctions un
    ; For whom; $R9 holds what an uninstaller must be told.
    Function ${un}ChooseUsers
        StrCpy $R9 ""
        SetShellVarContext current
        ${GetParameters} $R0
        ClearErrors
        ${GetOptions} $R0 "/AllUsers" $R1
        IfErrors 0 all
        StrCmp "${un}" "" done
        ; An uninstaller that is started without the switch goes by the entry of its folder.
        SetShellVarContext all
        ReadRegStr $R1 SHCTX "${UNINSTALL_KEY}" "InstallLocation"
        SetShellVarContext current
        StrCmp $R1 $INSTDIR all done
    all:
        StrCpy $R9 " /AllUsers"
        SetShellVarContext all
        UserInfo::GetAccountType
        Pop $R1
        StrCmp $R1 "Admin" done
        IfSilent refused
        ; Windows asks for an administrator.
        ClearErrors
        ExecShell "runas" "$EXEPATH" "$R0"
        IfErrors refused
        Quit
    refused:
        !insertmacro Fail "$(NO_ADMINISTRATOR)" 740
    done:
    FunctionEnd

    ; A program that runs cannot be opened for writing, in whatever session it runs. One that was closed a moment ago is given two
    ; seconds to let go of its file.
    Function ${un}RefuseWhileRunning
        StrCpy $R1 10
    again:
        IfFileExists "$INSTDIR\${PROGRAM}" 0 free
        ClearErrors
        FileOpen $R0 "$INSTDIR\${PROGRAM}" a
        IfErrors 0 opened
        IntOp $R1 $R1 - 1
        Sleep 200
        IntCmp $R1 0 0 0 again
        MessageBox MB_RETRYCANCEL|MB_ICONEXCLAMATION "$(RUNNING)" /SD IDCANCEL IDRETRY again
        SetErrorLevel 32
        Quit
    opened:
        FileClose $R0
    free:
    FunctionEnd
!macroend
!insertmacro CommonFunctions ""
!insertmacro CommonFunctions "un."

; The folder: /D=, that of an older version of whichever kind, or the usual one.
Function .onInit
    ${IfNot} ${AtLeastWin7}
        !insertmacro Fail "$(TOO_OLD)" 2
    ${EndIf}
    Call ChooseUsers
    ${If} $INSTDIR == ""
        ReadRegStr $INSTDIR SHCTX "${UNINSTALL_KEY}" "InstallLocation"
    ${EndIf}
    ${If} $INSTDIR == ""
        SetRegView ${OTHER_KINDS_VIEW}
        ReadRegStr $INSTDIR SHCTX "${UNINSTALL_KEY}" "InstallLocation"
        SetRegView default
        ${If} $INSTDIR == "${OTHER_KINDS_FOLDER}"
            StrCpy $INSTDIR ""
        ${EndIf}
    ${EndIf}
    ${If} $INSTDIR == ""
        ${If} $R9 == ""
            StrCpy $INSTDIR "$LOCALAPPDATA\Programs\NeltoStackWatcher"
        ${Else}
            StrCpy $INSTDIR "${USUAL_FOLDER}"
        ${EndIf}
    ${EndIf}
FunctionEnd

; By its own uninstaller, since only that one knows its files. Settings and logs stay.
Function RemoveOlderVersion
    ReadRegStr $R0 SHCTX "${UNINSTALL_KEY}" "InstallLocation"
    ${If} $R0 != ""
    ${AndIf} ${FileExists} "$R0\Uninstall.exe"
        ExecWait '"$R0\Uninstall.exe" /S /Upgrade$R9 _?=$R0' $R1
        ${If} $R1 != 0
            !insertmacro Fail "$(RUNNING)" $R1
        ${EndIf}
        Delete "$R0\Uninstall.exe"
        RMDir "$R0"
    ${EndIf}
    DeleteRegKey SHCTX "${UNINSTALL_KEY}"
FunctionEnd

Section
    Call RefuseWhileRunning
    SetRegView ${OTHER_KINDS_VIEW}
    Call RemoveOlderVersion
    SetRegView default
    Call RemoveOlderVersion
    ClearErrors
    SetOutPath "$INSTDIR"
    !insertmacro InstallFiles
    WriteUninstaller "$INSTDIR\Uninstall.exe"
    ${If} ${Errors}
        !insertmacro Fail "$(NOT_WRITTEN)" 2
    ${EndIf}
    CreateShortcut "${LINK}" "$INSTDIR\${PROGRAM}" "" "" "" "" "" "$(COMMENT)"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayName" "Nelto StackWatcher"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\${PROGRAM}"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "Publisher" "Nelto"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "Comments" "$(COMMENT)"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\Uninstall.exe"$R9'
    WriteRegStr SHCTX "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\Uninstall.exe" /S$R9'
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "EstimatedSize" ${SIZE_KB}
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoModify" 1
    WriteRegDWORD SHCTX "${UNINSTALL_KEY}" "NoRepair" 1
SectionEnd

Function un.onInit
    Call un.ChooseUsers
FunctionEnd

Section "Uninstall"
    Call un.RefuseWhileRunning
    !insertmacro DeleteFiles
    Delete "$INSTDIR\Uninstall.exe"
    RMDir "$INSTDIR" ; not with files in it that are not ours
    ReadRegStr $R0 SHCTX "${UNINSTALL_KEY}" "InstallLocation"
    ${If} $R0 == $INSTDIR ; else they belong to another installation
        Delete "${LINK}"
        DeleteRegKey SHCTX "${UNINSTALL_KEY}"
    ${EndIf}
    ${GetParameters} $R0
    ClearErrors
    ${GetOptions} $R0 "/Upgrade" $R1
    ${If} ${Errors}
        Delete "$TEMP\NeltoStackWatcher.txt"
        Delete "$TEMP\NeltoStackWatcherProtocol.txt"
        Delete "$TEMP\Nelto780Base.txt"
        Delete "$TEMP\ZIVNelto780.txt"
        Delete "C:\IRDALOG.TXT"
        DeleteRegKey HKCU "Software\Nelto\NeltoStackWatcher"
        DeleteRegKey /ifempty HKCU "Software\Nelto"
    ${EndIf}
SectionEnd
