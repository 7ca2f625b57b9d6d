# Runs parts of the suite and counts; sourced by the other scripts. Each part adds a line
# "passed failed skipped name" to the file $KX_TALLY, which a caller may share among several scripts.

if [ -z "${KX_TALLY:-}" ]; then
    KX_TALLY=$(mktemp)
    export KX_TALLY
    trap 'rm -f "$KX_TALLY"' EXIT
fi

# record NAME PASSED FAILED [SKIPPED]
record() {
    echo "$2 $3 ${4:-0} $1" >>"$KX_TALLY"
    printf '%-28s %5d passed, %d failed, %d skipped\n' "$1" "$2" "$3" "${4:-0}"
}

# run_check NAME COMMAND...: one check; its output is shown only if it fails.
run_check() {
    local name=$1 log
    shift
    log=$(mktemp)
    if "$@" >"$log" 2>&1; then
        record "$name" 1 0
    else
        cat "$log"
        record "$name" 0 1
    fi
    rm -f "$log"
}

# finish: the sum of all parts, and whether nothing failed.
finish() {
    awk '{ passed += $1; failed += $2; skipped += $3 }
         END { printf "%d passed, %d failed, %d skipped\n", passed, failed, skipped
               exit failed != 0 || passed == 0 }' \
        "$KX_TALLY"
}
