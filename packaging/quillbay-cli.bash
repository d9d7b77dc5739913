# bash completion for quillbay-cli: its commands, then the options of the command given.
_quillbay_cli()
{
    local current=${COMP_WORDS[COMP_CWORD]}
    local previous=${COMP_WORDS[COMP_CWORD-1]}
    if [ "$COMP_CWORD" -eq 1 ]; then
        COMPREPLY=($(compgen -W "mail letters search --help --version" -- "$current"))
        return
    fi
    case "$previous" in
        --contacts|--body|--attach|--template|--combined|--certificate)
            COMPREPLY=($(compgen -f -- "$current"))
            return ;;
        --eml-dir|--out-dir|--folder)
            COMPREPLY=($(compgen -d -- "$current"))
            return ;;
        --kind)
            COMPREPLY=($(compgen -W "tab comma excel access addressbook mailclient" -- "$current"))
            return ;;
        --tls)
            COMPREPLY=($(compgen -W "auto starttls ssl off" -- "$current"))
            return ;;
    esac
    # The options of the command, as its own --help lists them.
    local options
    options=$("${COMP_WORDS[0]}" "${COMP_WORDS[1]}" --help 2>/dev/null | grep -o -- '--[a-z][a-z-]*' | sort -u)
    COMPREPLY=($(compgen -W "$options" -- "$current"))
}
complete -o filenames -F _quillbay_cli quillbay-cli
