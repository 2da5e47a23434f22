#!/usr/bin/env bash
# Fails when the manual page or a completion leaves out a command, an option or a choice that the program's help
# tells of, or is not what the manual's formatter or the shell reads.
# Usage: check_reference.sh DEPTHRW DIRECTORY-OF-REFERENCE-FILES
set -euo pipefail
depthrw=$1
reference=$2

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
status=0
complain() {
  echo "$1" >&2
  status=1
}

# Rendered wide, so that no word is cut in two.
MANWIDTH=1000 man --warnings -E UTF-8 -l "$reference/depthrw.1" 2>"$scratch/warnings" | col -b >"$scratch/page"
[ ! -s "$scratch/warnings" ] || complain "the manual page has faults: $(cat "$scratch/warnings")"
bash -n "$reference/depthrw.bash" || complain "bash does not read its completion"
for shell in zsh fish; do
  command -v "$shell" >/dev/null || continue
  case "$shell" in
    zsh) zsh -n "$reference/_depthrw" || complain "zsh does not read its completion" ;;
    fish) fish --no-execute "$reference/depthrw.fish" || complain "fish does not read its completion" ;;
  esac
done

# Lines of the help that begin with an option, or with a command.
commands=$("$depthrw" --help | sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\).*/\1/p')
[ "$(wc -l <<<"$commands")" -ge 10 ] || complain "the help has too few commands: $commands"

# completions COMMAND-LINE-WORD...: what bash completes the last word to.
completions() {
  bash -c '
    source "$1"; shift
    COMP_WORDS=(depthrw "$@"); COMP_CWORD=$#; COMPREPLY=()
    _depthrw
    printf "%s\n" "${COMPREPLY[@]}"' bash "$reference/depthrw.bash" "$@"
}

completions '' >"$scratch/completed"
options=0
for command in $commands; do
  grep -qxF -- "$command" "$scratch/completed" || complain "bash does not complete the command $command"
  grep -qE "^ +depthrw $command( |$)" "$scratch/page" || complain "the manual page has no command $command"
  grep -qF "'$command:" "$reference/_depthrw" || complain "zsh has no command $command"
  grep -qE "use_subcommand' -a $command -d" "$reference/depthrw.fish" || complain "fish has no command $command"

  # The part of the manual page that tells about this command.
  sed -nE "/^ +depthrw $command( |\$)/,/^ +depthrw [a-z]+( |\$)/p" "$scratch/page" >"$scratch/part"
  sed -nE "/^ *$command\)\$/,/;;/p" "$reference/_depthrw" >"$scratch/zsh"
  completions "$command" - >"$scratch/completed-options"
  grep -F "from $command'" "$reference/depthrw.fish" >"$scratch/fish"
  for option in $("$depthrw" "$command" --help | sed -n '/^Options:/,$s/^  \(-[^ ]*\).*/\1/p' | tr ',' ' '); do
    options=$((options + 1))
    grep -qwF -- "$option" "$scratch/part" || complain "the manual page lacks $command $option"
    grep -qxF -- "$option" "$scratch/completed-options" || complain "bash does not complete $command $option"
    grep -qF -- "'${option}[" "$scratch/zsh" || complain "zsh lacks $command $option"
    switch="-l ${option#--} "
    [[ $option == --* ]] || switch="-s ${option#-} "
    grep -qF -- "$switch" "$scratch/fish" || complain "fish lacks $command $option"
  done
done
[ "$options" -ge 50 ] || complain "the help has too few options: $options"

# Choices, and what takes files.
[ "$(completions record --layout '' | sort | xargs)" = "flat numbered tree" ] || complain "bash: record --layout"
[ "$(completions record --layout t)" = tree ] || complain "bash: record --layout t"
[ -z "$(completions record --out '')" ] || complain "bash: record --out takes a directory"
[ "$(completions play --contact)" = --contact-sheet ] || complain "bash: play --contact"
exit $status
