# Sourced by the other scripts: installs what is missing and finds the framework. Not run by itself.
#
# Sets LD_JUCE_DIR (the framework's source folder) and LD_CACHE (where downloads live, outside the checkout).
# Everything comes from the packages of the system that it runs on; nothing is fetched when nothing is missing.

LD_ROOT=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
LD_CACHE=${XDG_CACHE_HOME:-${HOME:-/root}/.cache}/lodestrand

LD_JUCE_VERSION=8.0.6
LD_JUCE_SOURCE_VERSION=8.0.6+ds-2
LD_JUCE_TARBALL=juce_8.0.6+ds.orig.tar.xz
LD_JUCE_SHA256=4126ec8066866a1ccbc9cdd2beac712fd51e55ac7f24d8fdc45077b187a358ef

build_packages=(
    g++ cmake ninja-build ccache pkg-config git ca-certificates xz-utils dpkg-dev
    libfftw3-dev libpugixml-dev libxxhash-dev nettle-dev libcli11-dev libmpv-dev libavformat-dev libavcodec-dev libavutil-dev
    libgtest-dev libgmock-dev libbenchmark-dev
    libasound2-dev libjack-jackd2-dev libfreetype-dev libfontconfig1-dev libpng-dev libjpeg-dev zlib1g-dev
    libx11-dev libxcomposite-dev libxcursor-dev libxext-dev libxinerama-dev libxrandr-dev libxrender-dev
    fonts-dejavu-core
)
test_packages=(xvfb xauth sndfile-programs ffmpeg mediainfo sox)
bench_packages=(sox ffmpeg xvfb xauth)
lint_packages=(clang-format clang-tidy cppcheck)
package_packages=(librsvg2-bin desktop-file-utils appstream shared-mime-info man-db lintian)
fuzz_packages=(clang libclang-rt-dev)

say() { printf '%s\n' "$*" >&2; }
die() { say "$*"; exit 1; }

as_root()
{
    if [ "$(id -u)" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# install_packages NAME...: installs those that dpkg does not know as installed; silent when there are none.
install_packages()
{
    local missing=() name installed
    installed=$(dpkg-query -W -f '${Package} ${db:Status-Status}\n' "$@" 2>/dev/null | sed -n 's/ installed$//p') || true
    for name in "$@"; do
        grep -qxF -- "$name" <<< "$installed" || missing+=("$name")
    done
    [ ${#missing[@]} -eq 0 ] && return 0

    say "Installing: ${missing[*]}"
    as_root apt-get -qq update || die "The package lists could not be brought up to date."
    local log
    log=$(mktemp)
    as_root env DEBIAN_FRONTEND=noninteractive apt-get -qq install -y --no-install-recommends "${missing[@]}" > "$log" 2>&1 \
        || { cat "$log" >&2; die "These packages could not be installed: ${missing[*]}"; }
    rm -f "$log"
}

# The Debian mirror that this machine's own apt sources name, with nothing behind it.
apt_mirror()
{
    apt-get indextargets --format '$(REPO_URI) $(ORIGIN)' 'Created-By: Packages' 2>/dev/null \
        | awk '$2 == "Debian" && $1 !~ /security/ { print $1; exit }'
}

has_juce()
{
    [ -f "$1/CMakeLists.txt" ] && [ -f "$1/modules/juce_dsp/juce_dsp.h" ] \
        && grep -Eq "VERSION ${LD_JUCE_VERSION//./\\.}( |$)" "$1/CMakeLists.txt"
}

# Debian's source package of the framework, by apt with a private list and state, so that the machine's own are not touched.
juce_from_debian()
{
    local target=$1 mirror work keyring=/usr/share/keyrings/debian-archive-keyring.gpg
    mirror=$(apt_mirror)
    [ -n "$mirror" ] && [ -f "$keyring" ] || return 1
    work=$(mktemp -d) || return 1
    chmod 755 "$work"
    mkdir -p "$work/lists/partial" "$work/parts" "$work/get"
    printf 'deb-src [signed-by=%s] %s trixie main\n' "$keyring" "$mirror" > "$work/list"

    local apt=(apt-get -qq -o "Dir::Etc::sourcelist=$work/list" -o "Dir::Etc::sourceparts=$work/parts"
               -o "Dir::State::lists=$work/lists" -o "Dir::Cache::pkgcache=" -o "Dir::Cache::srcpkgcache="
               -o "APT::Sandbox::User=")
    (
        cd "$work/get" \
            && "${apt[@]}" update >&2 \
            && "${apt[@]}" source --download-only "juce=$LD_JUCE_SOURCE_VERSION" >&2 \
            && printf '%s  %s\n' "$LD_JUCE_SHA256" "$LD_JUCE_TARBALL" | sha256sum --check --status \
            && dpkg-source --no-check -x ./*.dsc "$work/juce" >/dev/null \
            && mkdir -p "$(dirname "$target")" && rm -rf "$target" && mv "$work/juce" "$target"
    )
    local status=$?
    rm -rf "$work"
    return $status
}

juce_from_upstream()
{
    local target=$1
    rm -rf "$target.part"
    git clone --quiet --depth 1 --branch "$LD_JUCE_VERSION" https://github.com/juce-framework/JUCE.git "$target.part" >&2 \
        && rm -rf "$target" && mv "$target.part" "$target"
}

# Finds the framework, or fetches it into the cache folder; sets LD_JUCE_DIR.
find_juce()
{
    local place cached=$LD_CACHE/juce-$LD_JUCE_VERSION
    for place in "${LD_JUCE_DIR:-}" "$cached" /usr/src/juce /usr/share/juce /usr/local/src/JUCE; do
        if [ -n "$place" ] && has_juce "$place"; then export LD_JUCE_DIR=$place; return 0; fi
    done

    say "Fetching the framework (JUCE $LD_JUCE_VERSION) into $cached"
    mkdir -p "$LD_CACHE"
    juce_from_debian "$cached" || juce_from_upstream "$cached" || die "JUCE $LD_JUCE_VERSION could not be fetched."
    has_juce "$cached" || die "What was fetched into $cached is not JUCE $LD_JUCE_VERSION."
    export LD_JUCE_DIR=$cached
}

# configure PRESET: where it was not yet, or with another framework.
configure()
{
    local preset=$1
    cd "$LD_ROOT" || exit 1
    if [ ! -f "build/$preset/build.ninja" ] || ! grep -q "^LD_JUCE_DIR:.*=$LD_JUCE_DIR\$" "build/$preset/CMakeCache.txt"; then
        say "Configuring the $preset build"
        cmake --preset "$preset" -DLD_JUCE_DIR="$LD_JUCE_DIR" >&2 || die "The build could not be configured."
    fi
}

# build PRESET TARGET...: configures where needed, then builds.
build()
{
    local preset=$1; shift
    configure "$preset"
    say "Building ($preset)"
    cmake --build --preset "$preset" --target "$@" >&2 || die "The build failed."
}

# with_display COMMAND...: runs it on the display that there is, or under a virtual one.
with_display()
{
    if [ -n "${DISPLAY:-}" ]; then "$@"; else xvfb-run -a -s "-screen 0 2560x1600x24" "$@"; fi
}
