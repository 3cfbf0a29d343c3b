; Installer for one user: needs no administrator, leaves the user's files alone.
;
; Silent: loftbay-<version>-win64-setup.exe /S [/EXPLORER] [/VIEW] [/PATH] [/D=folder]
;         uninstall.exe /S
; The maker passes VERSION, STAGE (the folder with the files to install) and OUTPUT.
Unicode true
Target amd64-unicode
ManifestDPIAware true
SetCompressor /SOLID lzma
RequestExecutionLevel user

!include MUI2.nsh
!include FileFunc.nsh
!include LogicLib.nsh
!include Sections.nsh
!include WinMessages.nsh

!define UNINSTALL_KEY "Software\Microsoft\Windows\CurrentVersion\Uninstall\Loftbay"
!define VERB_KEY "Software\Classes\SystemFileAssociations\.jt\shell\LoftbayConvertToZix"
; What .zix files are, and what opens them.
!define SCENE_TYPE "Loftbay.Zix"
!define SCENE_TYPE_KEY "Software\Classes\${SCENE_TYPE}"
!define SCENE_SUFFIX_KEY "Software\Classes\.zix"
!define VIEW_COMMAND 'cmd.exe /d /c ""$INSTDIR\bin\view-zix.cmd" "%1""'
; Longer texts do not fit into this installer's variables: such a PATH is left as it is.
!define LONGEST_PATH 900

Name "Loftbay"
OutFile "${OUTPUT}"
InstallDir "$LOCALAPPDATA\Programs\Loftbay"
InstallDirRegKey HKCU "${UNINSTALL_KEY}" "InstallLocation"
BrandingText "Loftbay ${VERSION}"
ShowInstDetails nevershow
ShowUninstDetails nevershow

VIProductVersion "${VERSION}"
VIAddVersionKey "ProductName" "Loftbay"
VIAddVersionKey "ProductVersion" "${VERSION}"
VIAddVersionKey "FileVersion" "${VERSION}"
VIAddVersionKey "FileDescription" "Loftbay installer"
VIAddVersionKey "CompanyName" "The Loftbay project"
VIAddVersionKey "LegalCopyright" "See LICENSE and NOTICE.md"

!define MUI_ICON "${ICON}"
!define MUI_UNICON "${ICON}"
!insertmacro MUI_PAGE_LICENSE "${STAGE}\LICENSE"
!insertmacro MUI_PAGE_COMPONENTS
!insertmacro MUI_PAGE_DIRECTORY
!insertmacro MUI_PAGE_INSTFILES
!insertmacro MUI_PAGE_FINISH
!insertmacro MUI_UNPAGE_CONFIRM
!insertmacro MUI_UNPAGE_INSTFILES
!insertmacro MUI_LANGUAGE "English"

; The size in bytes of the user's PATH, terminator included; 0 when there is none.
!macro PathSize result
  StrCpy ${result} 0
  System::Call 'advapi32::RegGetValueW(p 0x80000001, w "Environment", w "Path", i 0x1000FFFF, p 0, p 0, *i 0 r9) i .r8'
  ${If} $8 == 0
    StrCpy ${result} $9
  ${EndIf}
!macroend

!macro TellEnvironmentChanged
  SendMessage ${HWND_BROADCAST} ${WM_SETTINGCHANGE} 0 "STR:Environment" /TIMEOUT=2000
!macroend

!macro TellAssociationsChanged
  System::Call 'shell32::SHChangeNotify(i 0x08000000, i 0, p 0, p 0)'
!macroend

Section "Loftbay" SectionProgram
  SectionIn RO
  SetOutPath "$INSTDIR"
  !include "${FILES_TO_INSTALL}"
  SetOutPath "$INSTDIR"
  WriteUninstaller "$INSTDIR\uninstall.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayName" "Loftbay"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayVersion" "${VERSION}"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "DisplayIcon" "$INSTDIR\Loftbay.exe"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "Publisher" "The Loftbay project"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "InstallLocation" "$INSTDIR"
  WriteRegStr HKCU "${UNINSTALL_KEY}" "UninstallString" '"$INSTDIR\uninstall.exe"'
  WriteRegStr HKCU "${UNINSTALL_KEY}" "QuietUninstallString" '"$INSTDIR\uninstall.exe" /S'
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoModify" 1
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "NoRepair" 1
  ${GetSize} "$INSTDIR" "/S=0K" $0 $1 $2
  WriteRegDWORD HKCU "${UNINSTALL_KEY}" "EstimatedSize" $0
SectionEnd

Section "Start menu entry" SectionStartMenu
  CreateShortcut "$SMPROGRAMS\Loftbay.lnk" "$INSTDIR\Loftbay.exe"
SectionEnd

Section /o "Explorer menu entry" SectionExplorer
  WriteRegStr HKCU "${VERB_KEY}" "" "Convert to Zix"
  WriteRegStr HKCU "${VERB_KEY}" "Icon" "$INSTDIR\Loftbay.exe"
  WriteRegStr HKCU "${VERB_KEY}\command" "" 'cmd.exe /d /c ""$INSTDIR\bin\convert-to-zix.cmd" "%1""'
  !insertmacro TellAssociationsChanged
SectionEnd

Section /o "Open .zix files in the browser" SectionView
  ; Another program's claim comes back when this one goes.
  ReadRegStr $0 HKCU "${SCENE_SUFFIX_KEY}" ""
  ${If} $0 != "${SCENE_TYPE}"
    DeleteRegValue HKCU "${SCENE_TYPE_KEY}" "Before"
    ${If} $0 != ""
      WriteRegStr HKCU "${SCENE_TYPE_KEY}" "Before" "$0"
    ${EndIf}
  ${EndIf}
  WriteRegStr HKCU "${SCENE_TYPE_KEY}" "" "Zix scene"
  WriteRegStr HKCU "${SCENE_TYPE_KEY}\DefaultIcon" "" "$INSTDIR\Loftbay.exe"
  WriteRegStr HKCU "${SCENE_TYPE_KEY}\shell\open\command" "" '${VIEW_COMMAND}'
  WriteRegStr HKCU "${SCENE_SUFFIX_KEY}" "" "${SCENE_TYPE}"
  !insertmacro TellAssociationsChanged
SectionEnd

Section /o "Commands on the PATH" SectionPath
  !insertmacro PathSize $1
  ${If} $1 > ${LONGEST_PATH}
    ; A silent installation takes the answer as given and goes on.
    MessageBox MB_OK|MB_ICONEXCLAMATION "The PATH is too long to be changed here. To use loftbay and zix in \
every console, add this folder to it by hand:$\r$\n$\r$\n$INSTDIR\bin" /SD IDOK
  ${Else}
    ReadRegStr $0 HKCU "Environment" "Path"
    Push "$INSTDIR\bin"
    Push "$0"
    Call Without
    Pop $0
    ${If} $0 == ""
      StrCpy $0 "$INSTDIR\bin"
    ${Else}
      StrCpy $0 "$0;$INSTDIR\bin"
    ${EndIf}
    WriteRegExpandStr HKCU "Environment" "Path" "$0"
    !insertmacro TellEnvironmentChanged
  ${EndIf}
SectionEnd

!insertmacro MUI_FUNCTION_DESCRIPTION_BEGIN
  !insertmacro MUI_DESCRIPTION_TEXT ${SectionProgram} "The desktop program, and the commands loftbay and zix in its folder bin."
  !insertmacro MUI_DESCRIPTION_TEXT ${SectionStartMenu} "An entry that starts the desktop program."
  !insertmacro MUI_DESCRIPTION_TEXT ${SectionExplorer} "Right-click a .jt file to convert it; the scene lands beside it."
  !insertmacro MUI_DESCRIPTION_TEXT ${SectionView} "Double-click a .zix file to see the scene in the browser."
  !insertmacro MUI_DESCRIPTION_TEXT ${SectionPath} "Makes loftbay and zix known in every new console."
!insertmacro MUI_FUNCTION_DESCRIPTION_END

; Takes an entry out of a list with ";" between entries. Stack: list (top), entry -> list.
!macro WithoutFunction prefix
Function ${prefix}Without
  Exch $R0  ; list
  Exch
  Exch $R1  ; entry
  Push $R2  ; result
  Push $R3  ; one entry
  Push $R4  ; position
  Push $R5
  StrCpy $R2 ""
  ${Do}
    StrCpy $R4 0
    ${Do}
      StrCpy $R5 $R0 1 $R4
      ${If} $R5 == ""
      ${OrIf} $R5 == ";"
        ${Break}
      ${EndIf}
      IntOp $R4 $R4 + 1
    ${Loop}
    StrCpy $R3 $R0 $R4
    ${If} $R3 != ""
    ${AndIf} $R3 != $R1
      ${If} $R2 == ""
        StrCpy $R2 $R3
      ${Else}
        StrCpy $R2 "$R2;$R3"
      ${EndIf}
    ${EndIf}
    ${If} $R5 == ""
      ${Break}
    ${EndIf}
    IntOp $R4 $R4 + 1
    StrCpy $R0 $R0 "" $R4
  ${Loop}
  StrCpy $R0 $R2
  Pop $R5
  Pop $R4
  Pop $R3
  Pop $R2
  Pop $R1
  Exch $R0
FunctionEnd
!macroend
!insertmacro WithoutFunction ""
!insertmacro WithoutFunction "un."

Function .onInit
  ${GetParameters} $0
  ClearErrors
  ${GetOptions} $0 "/EXPLORER" $1
  ${IfNot} ${Errors}
    !insertmacro SelectSection ${SectionExplorer}
  ${EndIf}
  ClearErrors
  ${GetOptions} $0 "/VIEW" $1
  ${IfNot} ${Errors}
    !insertmacro SelectSection ${SectionView}
  ${EndIf}
  ClearErrors
  ${GetOptions} $0 "/PATH" $1
  ${IfNot} ${Errors}
    !insertmacro SelectSection ${SectionPath}
  ${EndIf}
FunctionEnd

; Takes back that this installation opens .zix files; what belongs to another one stays.
Function un.OpenScenes
  ReadRegStr $0 HKCU "${SCENE_TYPE_KEY}\shell\open\command" ""
  ${If} $0 != '${VIEW_COMMAND}'
    Return
  ${EndIf}
  ReadRegStr $0 HKCU "${SCENE_SUFFIX_KEY}" ""
  ${If} $0 == "${SCENE_TYPE}"
    ReadRegStr $0 HKCU "${SCENE_TYPE_KEY}" "Before"
    ${If} $0 != ""
      WriteRegStr HKCU "${SCENE_SUFFIX_KEY}" "" "$0"
    ${Else}
      DeleteRegValue HKCU "${SCENE_SUFFIX_KEY}" ""
      ; Not with what other programs have put there.
      DeleteRegKey /ifempty HKCU "${SCENE_SUFFIX_KEY}"
    ${EndIf}
  ${EndIf}
  DeleteRegKey HKCU "${SCENE_TYPE_KEY}"
FunctionEnd

Section "Uninstall"
  !include "${FILES_TO_REMOVE}"
  Delete "$INSTDIR\uninstall.exe"
  ; Only when nothing of the user's is in it.
  RMDir "$INSTDIR"
  Delete "$SMPROGRAMS\Loftbay.lnk"
  DeleteRegKey HKCU "${VERB_KEY}"
  Call un.OpenScenes
  !insertmacro TellAssociationsChanged
  !insertmacro PathSize $1
  ${If} $1 > 0
  ${AndIf} $1 <= 1800
    ReadRegStr $0 HKCU "Environment" "Path"
    Push "$INSTDIR\bin"
    Push "$0"
    Call un.Without
    Pop $2
    ${If} $2 == ""
      DeleteRegValue HKCU "Environment" "Path"
    ${ElseIf} $2 != $0
      WriteRegExpandStr HKCU "Environment" "Path" "$2"
      !insertmacro TellEnvironmentChanged
    ${EndIf}
  ${EndIf}
  DeleteRegKey HKCU "${UNINSTALL_KEY}"
SectionEnd
