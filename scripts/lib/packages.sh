# Installs the Debian packages that are missing; sourced by the other scripts.

# as_root COMMAND...
as_root() {
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# ensure_packages NAME...: nothing happens, and nothing is asked of the network, when all are there.
ensure_packages() {
    local missing=() package
    for package in "$@"; do
        if [ "$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null)" != "install ok installed" ]; then
            missing+=("$package")
        fi
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "installing: ${missing[*]}"
    # A fetch that fails is tried again before it counts.
    local try
    for try in 1 2 3; do
        if as_root apt-get update -qq &&
            as_root env DEBIAN_FRONTEND=noninteractive \
                apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null; then
            return 0
        fi
        echo "installation failed (try $try)" >&2
        sleep $((try * 2))
    done
    return 1
}
