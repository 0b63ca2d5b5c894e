# Completion of ombrel for bash.

_ombrel() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    local verb='' word
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        case $word in export | convert | apply | info | commands) verb=$word; break ;; esac
    done
    local words=''
    case $previous in
        --format) words='png jpeg heic tiff webp' ;;
        --depth) words='8 16 32' ;;
        --size) words='256 512 1024 2048 4096' ;;
        --memory) words='256 512 1024 2048 4096' ;;
        --quality) words='0.5 0.7 0.8 0.9 1' ;;
    esac
    if [[ -z $words && $current == -* ]]; then
        local raster='--format --quality --depth --size --srgb'
        case $verb in
            '') words='--help --version' ;;
            export) words="--help --memory $raster" ;;
            apply) words="--help --memory --output $raster" ;;
            convert) words='--help --memory' ;;
            info) words='--help --memory --json' ;;
            commands) words='--help --memory --markdown' ;;
        esac
    fi
    local IFS=$'\n'
    if [[ -n $words ]]; then
        mapfile -t COMPREPLY < <(compgen -W "${words// /$'\n'}" -- "$current")
        return
    fi
    [[ $verb == commands ]] && return
    compopt -o filenames 2>/dev/null
    mapfile -t COMPREPLY < <(compgen -f -- "$current")
    if ((COMP_CWORD == 1)); then
        mapfile -t -O "${#COMPREPLY[@]}" COMPREPLY < <(
            compgen -W $'export\nconvert\napply\ninfo\ncommands' -- "$current")
    fi
}

complete -F _ombrel ombrel
