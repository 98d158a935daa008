# SPDX-License-Identifier: GPL-3.0-or-later
# Completion of velmor and velmor-meter for bash.

# Offers those of the given words that begin with what is typed.
_velmor_words()
{
    local word
    COMPREPLY=()
    for word in $1; do
        [[ $word == "$2"* ]] && COMPREPLY+=("$word")
    done
    return 0
}

# Offers files, with what readline does for their names.
_velmor_files()
{
    local file
    COMPREPLY=()
    while IFS= read -r file; do
        COMPREPLY+=("$file")
    done < <(compgen "$1" -- "$2")
    compopt -o filenames 2>/dev/null
    return 0
}

_velmor()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
    if [[ $previous == --action ]]; then
        _velmor_words 'GetCurrentSPL GetTodaysDose GetMonitoringStats EndMixingSession ResumeMonitoring' "$current"
    else
        _velmor_words '--action --help' "$current"
    fi
}

_velmor_meter()
{
    local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]} options
    case $previous in
    --blocks | --ticks | --notifications | --csv | --time-series | --session-json | --report | --noise | --mic-response)
        _velmor_files -f "$current"
        ;;
    --history) _velmor_files -d "$current" ;;
    --device | --channel | --offset | --start | --time-zone | --seconds | --name | --target | --tolerance)
        COMPREPLY=()
        ;;
    *)
        if [[ $current == -* ]]; then
            options='--live --list-devices --device --channel --offset --conservative --start --time-zone --seconds'
            options+=' --noise --mic-response --json --blocks --ticks --notifications --csv --time-series'
            options+=' --session-json --report --name --history --target --tolerance --version --help'
            _velmor_words "$options" "$current"
        else
            _velmor_files -f "$current"
        fi
        ;;
    esac
}

complete -F _velmor velmor
complete -F _velmor_meter velmor-meter
