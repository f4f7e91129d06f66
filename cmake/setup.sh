# Sourced by ./run and ./test: installs what is missing, configures and builds a preset.

say() { printf '\n== %s\n' "$*"; }
fail() {
    printf '%s\n' "$*" >&2
    exit 1
}

# packages SECTION...: the names in these sections of cmake/packages.txt
packages() {
    local section
    for section in "$@"; do
        sed -n "/^\[$section\]/,/^\[/p" cmake/packages.txt | grep -Ev '^(\[|#|$)'
    done
}

# install_packages SECTION...: with apt, as root or by sudo; nothing when all are there. Whatever else
# is installed stays.
install_packages() {
    local package missing=()
    command -v dpkg-query >/dev/null ||
        fail "This isn't Debian. Please install the equivalents of: $(packages "$@" | tr '\n' ' ')"
    for package in $(packages "$@"); do
        dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q 'ok installed' ||
            missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return
    local root=()
    if [ "$(id -u)" -ne 0 ]; then
        command -v sudo >/dev/null ||
            fail "These packages are missing, and neither root nor sudo is at hand: ${missing[*]}"
        root=(sudo)
    fi
    say "Installing ${missing[*]}"
    "${root[@]}" apt-get update -qq || true
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive \
        apt-get install -y -qq --no-install-recommends --no-remove \
        "${missing[@]}" >/dev/null ||
        fail "apt-get could not install: ${missing[*]}"
}

# configure PRESET [OPTION...]: once; later calls leave it as it is
configure() {
    [ -f "build/$1/build.ninja" ] || cmake --preset "$@" >/dev/null ||
        fail "The preset $1 can't be configured"
}

# build PRESET [TARGET...]
build() {
    local preset=$1
    shift
    configure "$preset"
    cmake --build "build/$preset" ${*:+--target "$@"}
}

# The bundle and the programs in one folder of this user's, where hosts look.
user_folder=$HOME/.vst/Keldra

install_for_user() {
    cmake --install build/release --component user --prefix "$user_folder" >/dev/null
    # What ./run --uninstall takes away again: no sound that the user has saved there.
    sed "s|^$user_folder/||" build/release/install_manifest_user.txt >"$user_folder/installed.txt"
    say "Installed in $user_folder"
}

uninstall_for_user() {
    [ -f "$user_folder/installed.txt" ] || fail "Nothing of ./run --install is in $user_folder"
    (cd "$user_folder" && xargs -d '\n' rm -f <installed.txt && rm -f installed.txt)
    find "$user_folder" -type d -empty -delete
    say "Taken away from $user_folder"
}
