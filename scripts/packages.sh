# Sourced by the other scripts: need PACKAGE... makes sure that Debian packages are there.

build_packages="g++ cmake ninja-build libssl-dev libexpat1-dev nlohmann-json3-dev"
test_packages="libgtest-dev libgmock-dev"

missing_packages() {
    for package in "$@"; do
        status=$(dpkg-query -W -f '${Status}' "$package" 2>/dev/null) || status=
        [ "$status" = "install ok installed" ] || echo "$package"
    done
}

need() {
    command -v dpkg-query >/dev/null || {
        echo "This script is for Debian, whose packages it installs. Elsewhere install a compiler of C++20, CMake 3.25, Ninja," >&2
        echo "libcrypto with its headers, Expat and nlohmann-json for qxc and, for the tests, Expat and GoogleTest. Then:" >&2
        echo "cmake --preset release && cmake --build --preset release && ctest --preset release" >&2
        exit 1
    }
    missing=$(missing_packages "$@" | tr '\n' ' ')
    [ -n "$missing" ] || return 0
    if [ "$(id -u)" -ne 0 ]; then
        echo "Missing Debian packages: $missing" >&2
        echo "Install them with: apt-get install $missing" >&2
        exit 1
    fi
    echo "Installing: $missing" >&2
    {
        apt-get update -qq
        # shellcheck disable=SC2086
        DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends $missing
    } >&2
}

# make_root SUITE [PACKAGE] makes $root, a fresh Debian of that suite. Fails where nobody may make one. Not below /tmp, which may
# hold no devices.
make_root() {
    root=$(mktemp -d /var/tmp/root.XXXXXX)
    if ! { mknod "$root/null" c 1 3 && : >"$root/null" && unshare -m true && chroot / true; } 2>/dev/null; then
        rm -rf "$root"
        return 1
    fi
    rm "$root/null"
    chmod 755 "$root"
    need debootstrap
    debootstrap --variant=minbase ${2:+--include="$2"} "$1" "$root" >"$root.log" || { cat "$root.log"; rm -rf "$root" "$root.log"; exit 1; }
    rm "$root.log"
}
