# SPDX-License-Identifier: GPL-3.0-or-later
# Completion of velmorctl and velmor-widget for bash.

# Offers those of the given words that begin with what is typed.
_velmor_offer()
{
    local word
    COMPREPLY=()
    for word in $1; do
        [[ $word == "$2"* ]] && COMPREPLY+=("$word")
    done
    return 0
}

_velmorctl()
{
    local current=${COMP_WORDS[COMP_CWORD]}
    local i command='' subcommand=''
    for ((i = 1; i < COMP_CWORD; ++i)); do
        case ${COMP_WORDS[i]} in
        -*) ;;
        *)
            if [[ -z $command ]]; then
                command=${COMP_WORDS[i]}
            elif [[ -z $subcommand ]]; then
                subcommand=${COMP_WORDS[i]}
            fi
            ;;
        esac
    done

    COMPREPLY=()
    if [[ $current == -* ]]; then
        _velmor_offer '--json --help --help-all' "$current"
        return 0
    fi
    case $command in
    '') _velmor_offer 'spl dose stats session pause resume watch shortcuts focus' "$current" ;;
    session) [[ -n $subcommand ]] || _velmor_offer 'start end' "$current" ;;
    focus) [[ -n $subcommand ]] || _velmor_offer 'on off' "$current" ;;
    pause) [[ -n $subcommand ]] || _velmor_offer '5 10 15 30 60' "$current" ;;
    esac
    return 0
}

_velmor_widget()
{
    local current=${COMP_WORDS[COMP_CWORD]}
    _velmor_offer '--json --watch --sample --help' "$current"
}

complete -F _velmorctl velmorctl
complete -F _velmor_widget velmor-widget
