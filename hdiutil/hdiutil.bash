# Completion of hdiutil for bash: . hdiutil.bash
_hdiutil() {
    local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
    COMPREPLY=()
    if [ "$COMP_CWORD" -eq 1 ]; then
        mapfile -t COMPREPLY < <(compgen -W "attach mount detach eject unmount info imageinfo verify create convert
            extract --help --version" -- "$word")
        return
    fi
    local values=
    case $before in
    -format) values="UDRO UDZO UDBZ ULMO ULFO"; [ "${COMP_WORDS[1]}" != convert ] || values+=" UDRW UDTO" ;;
    -fs) values="HFS+ HFSX" ;;
    -layout) values="NONE GPTSPUD SPUD" ;;
    -encryption) values="AES-128 AES-256" ;;
    esac
    if [ -z "$values" ] && [ "${word:0:1}" = - ]; then
        case ${COMP_WORDS[1]} in
        attach | mount) values="-mountpoint -readonly -nobrowse -noverify -plist -quiet -stdinpass" ;;
        detach | eject | unmount) values="-force -quiet" ;;
        info) values="-plist" ;;
        imageinfo) values="-plist -stdinpass" ;;
        verify) values="-quiet -stdinpass" ;;
        create) values="-srcfolder -volname -format -fs -layout -size -licence -encryption -stdinpass -o -ov -quiet" ;;
        convert) values="-format -o -ov -encryption -stdinpass -quiet" ;;
        extract) values="-noverify -stdinpass -quiet" ;;
        esac
    fi
    if [ -n "$values" ]; then
        mapfile -t COMPREPLY < <(compgen -W "$values" -- "$word")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$word")
    fi
}
complete -o filenames -F _hdiutil hdiutil
