# SPDX-License-Identifier: Apache-2.0
# Completion for bash.
_orvel_flv() {
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} command='' before='' word
    # --option=value are three words here.
    if [[ $current == = ]]; then
        current=''
    elif [[ $previous == = ]]; then
        previous=${COMP_WORDS[COMP_CWORD - 2]}
    fi
    local commands="probe extract remux thumbnail check map"
    local options="--help --recursive --quiet --progress --verbose --version --plugin"
    for word in "${COMP_WORDS[@]:1:COMP_CWORD-1}"; do
        [[ $before != --plugin && " $commands " == *" $word "* ]] && command=$word && break
        before=$word
    done
    case $command:$previous in
        extract:-o | extract:--output)
            mapfile -t COMPREPLY < <(compgen -d -- "$current")
            compopt -o filenames
            return
            ;;
        thumbnail:-o | thumbnail:--output | map:-o | map:--output | *:--plugin)
            mapfile -t COMPREPLY < <(compgen -f -- "$current")
            compopt -o filenames
            return
            ;;
        extract:--track) mapfile -t COMPREPLY < <(compgen -W "video audio" -- "$current") && return ;;
        *:--progress) mapfile -t COMPREPLY < <(compgen -W "json" -- "$current") && return ;;
        *:--from | *:--to | *:--at | *:--seek | *:--size | *:--grid) return ;;
    esac
    case $command in
        "") [[ $current == -* ]] || options=$commands ;;
        probe) options+=" --json --packets --count --io --seek" ;;
        extract) options+=" --output --track --from --to --timestamps --force --recover --allow-missing" ;;
        remux) options+=" --output --from --to --keep-times --force --recover --allow-missing" ;;
        thumbnail) options+=" --output --at --size --grid --force" ;;
        check) options+=" --json --strict --codes" ;;
        map) options+=" --output --force" ;;
    esac
    if [[ $current == -* || -z $command ]]; then
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$current")
    else
        mapfile -t COMPREPLY < <(compgen -f -- "$current")
        compopt -o filenames
    fi
}
complete -F _orvel_flv orvel-flv
