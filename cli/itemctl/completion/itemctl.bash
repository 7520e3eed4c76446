# bash completion for itemctl(1): subcommands, options, and the items that are on the bus now.
# Offers the lines of standard input that begin with the word: whatever stands in one is never expanded, and comes
# out quoted.
_itemctl_offer()
{
    local word=$1 name quoted
    while IFS= read -r name; do
        printf -v quoted %q "$name"
        [[ $quoted == "$word"* ]] && COMPREPLY+=("$quoted")
    done
}

_itemctl()
{
    local commands="list get set call watch wait describe servers top"
    local cur prev words cword
    # Item names contain colons, which are no word breaks here.
    _init_completion -n := 2>/dev/null || return
    local word command="" kinds=""
    for word in "${words[@]:1:cword-1}"; do
        case " $commands " in *" $word "*) command=$word; break ;; esac
    done
    case $prev in
        --server)
            _itemctl_offer "$cur" < <(itemctl servers 2>/dev/null | sed 's/^tov\.base\.//; s/ .*//')
            return ;;
        --count|--timeout) return ;;
    esac
    if [[ $cur == -* ]]; then
        local options="--json --server --help"
        case $command in
            "") options+=" --version" ;;
            watch) options+=" --initial --await-server --count --timeout" ;;
            wait) options+=" --await-server --unless --timeout" ;;
            list) options+=" --rows" ;;
            set) options+=" --until --unless --show --timeout" ;;
            call) options+=" --until --unless --show --timeout --row --take" ;;
        esac
        mapfile -t COMPREPLY < <(compgen -W "$options" -- "$cur")
        return
    fi
    # A condition, or the text of "set": the values of the item before it.
    local item="" before=""
    if [[ $command == wait && $cur == *=* ]]; then
        item=${cur%%=*}; item=${item%!}; before=${cur%"${cur##*=}"}
    elif [[ $command == set && $prev != set ]]; then
        item=$prev
    fi
    if [[ -n $item ]]; then
        _itemctl_offer "${cur#"$before"}" < <(itemctl values "$item" 2>/dev/null)
        # Readline replaces what follows the last word break, and "=" is one.
        [[ $COMP_WORDBREAKS == *=* ]] || COMPREPLY=("${COMPREPLY[@]/#/$before}")
        return
    fi
    case $command in
        "") mapfile -t COMPREPLY < <(compgen -W "$commands" -- "$cur"); return ;;
        call) [[ $prev == call ]] || return; kinds="action" ;;
        set) [[ $prev == set ]] || return; kinds="config result" ;;
        get) kinds="config result" ;;
        servers|top) return ;;
    esac
    # shellcheck disable=SC2086  # kinds are words
    _itemctl_offer "$cur" < <(itemctl names $kinds 2>/dev/null)
    [[ $command == wait ]] && compopt -o nospace
    __ltrim_colon_completions "$cur"
}
complete -F _itemctl itemctl
