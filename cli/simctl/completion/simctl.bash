# bash completion for simctl(1): subcommands, options, and the devices that are around now.

# Offers the lines of standard input that begin with the word. Devices choose their names: what stands in one is
# never expanded, and comes out quoted.
_simctl_offer()
{
    local word=$1 name quoted
    while IFS= read -r name; do
        case $word in
            \"*) [[ $name == "${word:1}"* && $name != *[\"\$\`\\!]* ]] && COMPREPLY+=("$name") ;;
            \'*) [[ $name == "${word:1}"* && $name != *\'* ]] && COMPREPLY+=("$name") ;;
            *)
                printf -v quoted %q "$name"
                [[ $quoted == "$word"* ]] && COMPREPLY+=("$quoted") ;;
        esac
    done
}

_simctl()
{
    local commands="devices add remove return move drop connect pair-request answer fault calls time record"
    local cur prev words cword
    # Addresses contain colons, which are no word breaks here.
    _init_completion -n : 2>/dev/null || return
    local word command=""
    for word in "${words[@]:1:cword-1}"; do
        case " $commands " in *" $word "*) command=$word; break ;; esac
    done
    if [[ $cur == -* ]]; then
        local options="--json --help"
        case $command in
            "") options+=" --version" ;;
            add) options+=" --address --rssi --class --paired $(simctl names option 2>/dev/null)" ;;
            move) options+=" --in" ;;
            record) options+=" --timeout" ;;
        esac
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
        return
    fi
    local IFS=$'\n'
    case $command:$prev in
        :*) mapfile -t COMPREPLY < <(compgen -W "${commands// /$'\n'}" -- "$cur") ;;
        fault:fault) _simctl_offer "$cur" < <(simctl names fault 2>/dev/null) ;;
        fault:*) _simctl_offer "$cur" < <(simctl names member "$prev" 2>/dev/null) ;;
        time:time) mapfile -t COMPREPLY < <(compgen -W $'pause\nresume\nstep\nspeed' -- "$cur") ;;
        record:--timeout) ;;
        record:*)
            compopt -o filenames # quoted as far as it has to be
            mapfile -t COMPREPLY < <(compgen -f -- "$cur") ;;
        remove:remove|return:return|move:move|drop:drop|connect:connect|pair-request:pair-request|answer:answer)
            _simctl_offer "$cur" < <(simctl names 2>/dev/null)
            __ltrim_colon_completions "$cur" ;;
        answer:*) mapfile -t COMPREPLY < <(compgen -W $'accept\nrefuse' -- "$cur") ;;
    esac
}
complete -F _simctl simctl
