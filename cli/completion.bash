# bash completion for itemctl(1), simctl(1) and hostctl(1): the program itself says what may stand at the cursor.

# Offers the lines of standard input that begin with the word. Devices choose their names: what stands in one is
# never expanded, and comes out quoted.
_bluetooth_cli_offer()
{
    local word=$1 name quoted
    while IFS= read -r name; do
        case $word in
            \"*) [[ $name == "${word:1}"* && $name != *[\"\$\`\\!]* ]] && COMPREPLY+=("$name") ;;
            \'*) [[ $name == "${word:1}"* && $name != *\'* ]] && COMPREPLY+=("$name") ;;
            *)
                # What is typed stays as it is, quoted or not.
                if [[ $name == "$word"* && $word != *\\* ]]; then
                    printf -v quoted %q "${name:${#word}}"
                    [[ $name == "$word" ]] && quoted=
                    COMPREPLY+=("$word$quoted")
                else
                    printf -v quoted %q "$name"
                    [[ $quoted == "$word"* ]] && COMPREPLY+=("$quoted")
                fi ;;
        esac
    done
}

_bluetooth_cli()
{
    local cur prev words cword offered
    # Addresses and conditions are one word each.
    _init_completion -n := 2>/dev/null || return
    offered=$("$1" complete -- "${words[@]:1:cword}" 2>/dev/null)
    if (($? == 10)); then # a recording
        _filedir rec
        return
    fi
    [[ -z $offered ]] || _bluetooth_cli_offer "$cur" <<<"$offered"
    [[ ${COMPREPLY-} == *= ]] && compopt -o nospace
    # Readline replaces what follows the last word break, and "=" is one.
    [[ $cur == *=* && $COMP_WORDBREAKS == *=* ]] && COMPREPLY=("${COMPREPLY[@]#"${cur%"${cur##*=}"}"}")
    __ltrim_colon_completions "$cur"
}
complete -F _bluetooth_cli itemctl simctl hostctl
