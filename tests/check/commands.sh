#!/usr/bin/env bash
# Every command that a document tells to type is run by a test: here, or in a transcript. Those which no test can run stand
# in not_run, with the reason, for as long as a document shows them. What is named without arguments has to be there, and
# what holds a placeholder is a form. Usage: commands.sh BUILD-FOLDER PAGE..., from the root of the sources.
set -euo pipefail
documents=("${@:2}")
export PATH=$1:$PATH PKG_CONFIG_PATH=$1
place=$(mktemp -d "$1/commands.XXXXXX")
trap 'rm -rf "$place"' EXIT

programs='\./dev|[a-z-]+/[a-z/-]+|utmctl|utm-gateway|apt(-get)?|bash|cc|chmod|chown|cmake|cpack|ctest|docker|dpkg|env|export|g\+\+|'
programs+='gcc|git|id|ipcrm|ipcs|kill|ldconfig|ldd|ln|ls|make|man|mkdir|mount|ninja|nm|opkg|pkg-config|ps|readelf|rm|service|sh|'
programs+='source|stat|strace|su|sudo|systemctl|tail|touch|umount|unshare|valgrind'
placeholder='\b[A-Z]{2,}\b|\[|\.\.\.'

told() {
    local page
    for page in "${documents[@]}"; do tests/check/shown tests/check/not_run "$page"; done |
        sed -n 's/^told //p' | grep -E "^($programs) [^ ]" | grep -vE "$placeholder" | sort -u
}

not_run() { sed '/^#/d; s/ *# .*//' tests/check/not_run | sort -u; }

# names COMMAND: a command or option of our programs, without arguments.
names() {
    local words
    read -ra words <<<"$1"
    case $1 in
    'utmctl --'*) utmctl help | grep -e "  ${words[1]} " ;;
    utmctl*) utmctl help "${words[@]:1}" ;;
    'utm-gateway '*' '*) false ;;
    utm-gateway*) utm-gateway "${words[1]}" --help ;;
    ./dev*) ((${#words[@]} == 2)) && ./dev | grep "^  ${words[1]} " ;;
    *) false ;;
    esac &>/dev/null
}

# works COMMAND: on a gateway, in a folder that looks like this one, built. Other programs may do harm.
works() {
    case $1 in
    utmctl* | utm-gateway* | cc* | ipcs* | pkg-config* | source*)
        (cd "$place" && utm-gateway run -- timeout 60 bash -ec "$1") </dev/null
        ;;
    *) echo "Let a test run it, and tell in not_run which." && false ;;
    esac
}

cp -r examples include tools examples/home.json "$place"
cp "$1/examples/readme.c" "$place/first.c"
cp "$1/examples/example_household" "$place/household"
ln -s "$1" "$place/build"
ln -s "$1/examples" "$place/build-examples"

failed=0
while read -r command; do
    ! names "$command" || continue
    if ! output=$(works "$command" 2>&1); then
        printf 'It is shown, but does not work: %s\n%s\n' "$command" "$output"
        failed=1
    fi
done < <(comm -23 <(told) <(not_run))
while read -r command; do
    printf 'No document shows it any more: %s\n' "$command"
    failed=1
done < <(comm -13 <(told) <(not_run))
((failed == 0))
