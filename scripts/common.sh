# Shared by the scripts beside it; sourced, not run.
# shellcheck shell=bash

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

fail() {
    echo "${0##*/}: $*" >&2
    exit 1
}

# Runs a command with root's rights.
as_root() {
    if [ "$(id -u)" -eq 0 ]; then
        "$@"
    else
        command -v sudo >/dev/null || fail "run this as root, or install sudo"
        sudo "$@"
    fi
}

# install_packages KIND...: installs what is missing of these kinds in scripts/packages.
install_packages() {
    local kind name rest missing=()
    command -v apt-get >/dev/null || fail "this needs a Debian system (apt-get is missing)"
    while read -r kind name rest; do
        [[ " $* " == *" $kind "* ]] || continue
        [ "$(dpkg-query -W -f='${db:Status-Status}' "$name" 2>/dev/null)" = installed ] || missing+=("$name")
    done <"$root/scripts/packages"
    [ ${#missing[@]} -gt 0 ] || return 0
    echo "Installing: ${missing[*]}"
    as_root apt-get update -qq
    as_root env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
        >/dev/null
}

# configure_tree PRESET FOLDER [cmake option...]: enables everything that the scripts use, unless the options override
# it. A folder that was configured for another generator or compiler is configured anew.
configure_tree() {
    local options=(--preset "$1" -S "$root" -B "$2" -DMVDP_SERVICE=ON -DMVDP_TOOLS=ON -DBUILD_TESTING=ON "${@:3}")
    cmake "${options[@]}" || cmake --fresh "${options[@]}"
}

# build_tree PRESET FOLDER [cmake option...] [-- target...]: configures and builds; quiet unless it fails. One build at
# a time, because each uses all cores.
build_tree() {
    local preset=$1 folder=$2 log options=()
    shift 2
    while [ $# -gt 0 ] && [ "$1" != -- ]; do
        options+=("$1")
        shift
    done
    [ $# -eq 0 ] || shift
    mkdir -p "$folder" "$root/build"
    log=$folder/build.log
    echo "Building in ${folder#"$root"/} (log: ${log#"$root"/})"
    if ! {
        configure_tree "$preset" "$folder" "${options[@]}" &&
            flock "$root/build/lock" cmake --build "$folder" ${1+--target "$@"}
    } >"$log" 2>&1; then
        tail -n 50 "$log" >&2
        fail "the build failed"
    fi
}
