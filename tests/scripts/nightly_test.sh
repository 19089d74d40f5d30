#!/usr/bin/env bash
# nightly_test.sh SOURCE: scripts/nightly with four steps that take no time, in a small repository of its own.
set -euo pipefail
source=$1
export LC_ALL=C
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"
unset GIT_DIR GIT_WORK_TREE GIT_INDEX_FILE  # where the test runs in a hook
export GIT_CONFIG_GLOBAL=/dev/null GIT_CONFIG_NOSYSTEM=1  # nobody's hooks, signatures or length of hashes
mkdir -p scripts/check
cp "$source/scripts/check/functions.sh" scripts/check/
# shellcheck disable=SC2016 # the step's shell expands it
sed '/^steps=(/,/^)/c steps=("good echo all 3 well" "bad ls missing" "absent ./absent" "late echo late")' \
    "$source/scripts/nightly" >scripts/nightly
printf '#!/bin/sh\necho "no emulator here"\nexit 77\n' >absent
chmod +x scripts/nightly absent
echo build >.gitignore
git init -q
change() {
    git add -A
    git -c user.name=test -c user.email=test@example.org commit -q --allow-empty -m change
}
change

# is WHAT EXPECTED COMMAND...: the command prints just that.
is() {
    local what=$1 expected=$2 got
    shift 2
    got=$("$@" 2>/dev/null) || true
    [[ $got == "$expected" ]] || {
        printf '%s: got\n%s\ninstead of\n%s\n' "$what" "$got" "$expected"
        exit 1
    }
}

# The steps' rows of the page: name, how it ended, "*" where on another commit, result.
rows() {
    scripts/nightly page | awk '/^(good|bad|absent|late) / {
        line = substr($0, 1, 24) " " substr($0, 34, 1) " " substr($0, 62)
        gsub(/ +/, " ", line)
        sub(/ $/, "", line)
        print line
    }'
}

# What scripts/nightly ends with.
code() {
    local code=0
    scripts/nightly "$@" >/dev/null 2>&1 || code=$?
    echo "$code"
}

ran() {
    cut -f 1 build/nightly/ledger.tsv | tr '\n' ' '
}

is "no result yet" $'good never run\nbad never run\nabsent never run\nlate never run' rows
is "a step that there isn't" "2" code goood
is "a step that fails" "1" code good bad
is "two steps ran" "good bad " ran
is "never run comes first, this commit's not again" "0" code --minutes=9
is "the others ran" "good bad absent late " ran
is "all are done" "0" code --minutes=9
is "nothing ran again" "good bad absent late " ran
is "how they ended" "good passed all 3 well
bad FAILED ls: cannot access 'missing': No such file or directory
absent skipped no emulator here
late passed late" rows

# On the next commit all are due, the oldest first; no minute is left for any.
sed -i '/^good/s/\t2[0-9T:-]*Z\t/\t2001-01-01T00:00:00Z\t/; /^late/s/\t2[0-9T:-]*Z\t/\t2000-01-01T00:00:00Z\t/' \
    build/nightly/ledger.tsv
change
left() {
    scripts/nightly --minutes=0 | head -n 1
}
is "what is left" "nightly: 0 minutes are over; left for another night: late good bad absent" left
scripts/nightly --minutes=1 late >/dev/null 2>&1
is "a named step runs" "good bad absent late late " ran
is "results of another commit are marked" "good passed * all 3 well
bad FAILED * ls: cannot access 'missing': No such file or directory
absent skipped * no emulator here
late passed late" rows

# A result with changed files is of no commit.
echo changed >>.gitignore
scripts/nightly late >/dev/null 2>&1
last_row() {
    rows | tail -n 1
}
is "changed files are marked" "late passed * late" last_row
