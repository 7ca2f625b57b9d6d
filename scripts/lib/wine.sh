# Runs programs for Windows, with no screen and in a prefix of their own; sourced by scripts/test and scripts/demo.

wine_folder=/usr/lib/wine

# find_wine LOADER: whether the loader for programs of some width is there.
find_wine() { [ -x "$wine_folder/$1" ]; }

# start_wine LOADER PREFIX: makes the prefix if need be, and keeps Wine's server between the
# programs, for a minute behind the last one. It gets no file of the caller's: who reads a pipe from
# here would wait for its end.
start_wine() {
    export WINEPREFIX=$2 WINEDEBUG=fixme-all WINEDLLOVERRIDES="mscoree,mshtml="
    unset DISPLAY WAYLAND_DISPLAY
    mkdir -p "$WINEPREFIX"
    "$wine_folder/wineserver" -p60 </dev/null >"$WINEPREFIX/server.log" 2>&1 &&
        "$wine_folder/$1" wineboot </dev/null >"$WINEPREFIX/boot.log" 2>&1
}

# stop_wine: nothing happens where none was started.
stop_wine() {
    [ -z "${WINEPREFIX:-}" ] || "$wine_folder/wineserver" -k </dev/null >/dev/null 2>&1 || true
    unset WINEPREFIX
}
