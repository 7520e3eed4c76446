#compdef itemctl simctl hostctl
# zsh completion for itemctl(1), simctl(1) and hostctl(1): the program itself says what may stand at the cursor.
local -a offered
offered=(${(f)"$($words[1] complete -- "${(@Q)words[2,CURRENT]}" 2>/dev/null)"})
if (($? == 10)); then
    _files -g "*.rec"
else
    compadd -S '' -- ${(M)offered:#*=}
    compadd -- ${offered:#*=}
fi
