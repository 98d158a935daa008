#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# The life of a package on a fresh Debian 12: installed, run, updated, purged.
#
#     tests/packaging/package.sh PACKAGE.deb
#
# Builds nothing. Needs root, the packages debootstrap and dpkg, the network, and 2 GB below $TMPDIR. The system is
# made in a folder there, and everything that is mounted or started lives in namespaces that end with this script.
set -euo pipefail

bus_name=dev.brightfen.velmor
user=listener
suite=bookworm

fail() {
    echo "FAILED  $*" >&2
    exit 1
}

# Outside: checks what is needed, makes the folder, and removes it in every case.
outside() {
    [ $# -eq 1 ] && [ -f "$1" ] || { echo "usage: $0 PACKAGE.deb" >&2; exit 2; }
    [ "$(id -u)" -eq 0 ] || { echo "$0: a system can be made by root only" >&2; exit 2; }
    local tool
    for tool in debootstrap dpkg-deb objdump readelf unshare; do
        command -v "$tool" >/dev/null || { echo "$0: $tool was not found" >&2; exit 2; }
    done

    local package inside=''
    package="$(realpath "$1")"
    folder="$(mktemp -d --tmpdir velmor-package.XXXXXX)"
    trap 'rm -rf --one-file-system "$folder"' EXIT
    # The namespaces end with unshare, and what runs in them with the first process of theirs.
    trap '[ -z "$inside" ] || { kill -KILL "$inside"; wait "$inside" || true; }; exit 130' INT TERM HUP
    unshare --mount --mount-proc --pid --fork --kill-child "$BASH" "$0" --inside "$folder" "$package" &
    inside=$!
    wait "$inside" || exit 1
    rm -rf --one-file-system "$folder"
    [ ! -e "$folder" ] || fail "$folder is still there"
    echo "passed"
}

# A step whose output is worth reading only where it fails.
quietly() {
    "$@" >"$folder/log" 2>&1 || {
        cat "$folder/log" >&2
        fail "$*"
    }
}

in_system() { chroot "$system" env -i PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8 \
    DEBIAN_FRONTEND=noninteractive "$@"; }

as_user() { in_system runuser -u "$user" -- env HOME="/home/$user" "$@"; }

install() { quietly in_system apt-get install -q -y --no-install-recommends "$@"; }

# The mirror and the suites that this machine has its own packages from, as lines of a sources.list.
sources() {
    apt-get indextargets --format 'deb $(REPO_URI) $(RELEASE) main' 'Created-By: Packages' 'Origin: Debian' |
        grep -E " $suite(-updates|-security)? " | sort -u || echo "deb http://deb.debian.org/debian $suite main"
}

make_system() {
    local lines mirror
    lines="$(sources)"
    mirror="$(awk -v suite="$suite" '$3 == suite { print $2; exit }' <<<"$lines")"
    quietly debootstrap --variant=minbase "$suite" "$system" "$mirror"
    echo "$lines" >"$system/etc/apt/sources.list"

    mount -t proc proc "$system/proc"
    mount --rbind /dev "$system/dev"
    mount -t tmpfs -o mode=1777 tmpfs "$system/dev/shm"
    # Nothing starts by being installed.
    printf '#!/bin/sh\nexit 101\n' >"$system/usr/sbin/policy-rc.d"
    chmod 755 "$system/usr/sbin/policy-rc.d"
    quietly in_system apt-get update -q
    in_system useradd --create-home --shell /bin/bash "$user"
    mkdir "$system/packages"
    mkdir -m 1777 "$system/tmp/.X11-unix"
    echo "ok      a fresh Debian $(cat "$system/etc/debian_version") of $mirror"
}

version() { dpkg-deb --field "$1" Version; }

check_installed() {
    [ "$(in_system dpkg-query -W -f '${db:Status-Status} ${Version}' velmor)" = "installed $1" ] ||
        fail "version $1 is not installed"
    quietly in_system dpkg --verify velmor
    [ ! -s "$folder/log" ] || { cat "$folder/log" >&2; fail "files differ from the package's"; }
    local program
    for program in velmor velmor-meter velmor-widget velmorctl; do
        ! in_system ldd "/usr/bin/$program" | grep 'not found' || fail "$program lacks libraries"
    done
    [ ! -e "$system/usr/bin/velmor-demonstration" ] || fail "velmor-demonstration is installed"
    echo "ok      version $1 is installed"
}

# What the compiler and the linker have done against faults that are still in the programs.
check_hardening() {
    local program file headers symbols
    for program in velmor velmor-meter velmor-widget velmorctl; do
        file="$system/usr/bin/$program"
        headers="$(readelf --wide --file-header --program-headers --dynamic "$file")"
        symbols="$(readelf --wide --dyn-syms "$file")"
        [[ "$headers" =~ Type:\ +DYN ]] || fail "$program lies at a fixed address"
        [[ "$headers" == *GNU_RELRO* ]] || fail "$program has no RELRO"
        [[ "$headers" == *BIND_NOW* ]] || fail "$program binds lazily"
        [[ ! "$headers" =~ GNU_STACK[^$'\n']*RWE ]] || fail "$program has an executable stack"
        [[ "$symbols" == *__stack_chk_fail* ]] || fail "$program has no stack protector"
        # The client has no buffer whose size the compiler knows, so nothing of it can be fortified.
        [ "$program" = velmorctl ] || [[ "$symbols" =~ __[a-z]+_chk@ ]] || fail "$program has no fortified function"
        [ "$(dpkg --print-architecture)" != amd64 ] ||
            objdump --disassemble --no-show-raw-insn "$file" | grep endbr64 >/dev/null ||
            fail "$program has no marks for indirect branches"
    done
    echo "ok      position independent, RELRO, stack protector, fortified functions, indirect branches"
}

check_descriptions() {
    install desktop-file-utils appstream
    quietly in_system desktop-file-validate "/usr/share/applications/$bus_name.desktop"
    [ ! -s "$folder/log" ] || { cat "$folder/log" >&2; fail "desktop-file-validate has something to say"; }
    quietly in_system appstreamcli validate --no-net "/usr/share/metainfo/$bus_name.metainfo.xml"
    grep -q "x-scheme-handler/velmor=$bus_name.desktop" "$system/usr/share/applications/mimeinfo.cache" ||
        fail "nobody opens velmor: URLs"
    echo "ok      desktop entry, metainfo and URL scheme"
}

# The meter as a user's first command: noise made, measured, and its report drawn without a display.
check_meter() {
    quietly as_user velmor-meter --noise /tmp/noise.wav --seconds 2
    quietly as_user velmor-meter /tmp/noise.wav --json --report /tmp/report.pdf
    [ "$(head -c 5 "$system/tmp/report.pdf")" = "%PDF-" ] || fail "the report is no PDF"
    echo "ok      velmor-meter measures and reports"
}

# A small desktop's session: a screen, a private bus, the program. Runs in the system, as the user.
write_session() {
    cat >"$system/packages/session" <<SESSION
#!/bin/bash
set -euo pipefail
bus() { dbus-send --session --print-reply=literal --dest=org.freedesktop.DBus / "org.freedesktop.DBus.\$@"; }
is_there() { bus NameHasOwner string:$bus_name | grep -q true; }
fail() { echo "\$*" >&2; exit 1; }
ended() {
    local attempt
    for attempt in {1..100}; do
        [ -d "/proc/\$1" ] || return 0
        sleep 0.1
    done
    return 1
}

/usr/bin/velmor &
velmor=\$!
sleep 5
[ -d "/proc/\$velmor" ] || fail "velmor has ended by itself"
is_there || fail "velmor has no name on the bus"
velmorctl session start "\$1"
sleep 2
kill -TERM "\$velmor"
status=0
wait "\$velmor" || status=\$?
[ "\$status" -eq 0 ] || fail "velmor ended with status \$status"
! is_there || fail "velmor's name is still on the bus"

# A call starts it, by the installed service.
velmorctl dose
velmor=\$(bus GetConnectionUnixProcessID string:$bus_name | awk '{ print \$2 }')
[ "\$(readlink "/proc/\$velmor/exe")" = /usr/bin/velmor ] || fail "the bus has started something else"
kill -TERM "\$velmor"
ended "\$velmor" || fail "the velmor that the bus had started doesn't end"
SESSION
    cat >"$system/packages/desktop" <<'DESKTOP'
#!/bin/bash
set -euo pipefail
export XDG_RUNTIME_DIR
XDG_RUNTIME_DIR="$(mktemp -d)"
mkfifo "$XDG_RUNTIME_DIR/display"
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3<>"$XDG_RUNTIME_DIR/display" 2>"$XDG_RUNTIME_DIR/screen.log" &
screen=$!
trap 'kill "$screen"; wait "$screen" || true; rm -rf "$XDG_RUNTIME_DIR"' EXIT
read -r -t 30 number <>"$XDG_RUNTIME_DIR/display"
export DISPLAY=":$number"
dbus-run-session -- /packages/session "$@"
DESKTOP
    chmod 755 "$system/packages/session" "$system/packages/desktop"
}

check_session() {
    quietly as_user /packages/desktop "$1"
    local home="$system/home/$user"
    [ -d "$home/.local/share/Velmor" ] || fail "no folder for sessions"
    [ -f "$home/.config/Velmor/defaults.sqlite" ] || fail "no settings"
    grep -q "\"$1\"" "$home/.local/share/Velmor/sessions.json" || fail "the session $1 was not kept"
    echo "ok      velmor runs on screen and bus, ends on SIGTERM, is started by the bus; session $1 is kept"
}

# Prints the user's files with their content's sums.
user_data() { (cd "$system/home/$user" && find . -type f -exec sha256sum {} + | sort -k 2); }

# The same package with a higher version.
repacked() {
    local content="$folder/repacked"
    dpkg-deb --raw-extract "$1" "$content"
    sed -i "s/^Version: .*/Version: $2/" "$content/DEBIAN/control"
    quietly dpkg-deb --root-owner-group --build "$content" "$system/packages/velmor-update.deb"
    rm -rf "$content"
}

check_purge() {
    local files path left
    files="$(in_system dpkg --listfiles velmor)"
    user_data >"$folder/before"
    quietly in_system apt-get purge -q -y velmor
    ! in_system dpkg-query -W velmor >/dev/null 2>&1 || fail "dpkg still knows the package"
    while read -r path; do
        [ ! -f "$system$path" ] && [ ! -L "$system$path" ] || fail "left behind: $path"
    done <<<"$files"
    # What only it can have brought, wherever it lies.
    left="$(cd "$system" && find . -xdev -iname '*velmor*' ! -path './packages/*' ! -path "./home/$user/*")"
    [ -z "$left" ] || fail "left behind: $left"
    left="$(grep -rl "$bus_name" "$system/etc" "$system/usr/share/applications" "$system/var/lib/dpkg/info" || true)"
    [ -z "$left" ] || fail "named in: $left"
    user_data >"$folder/after"
    [ -s "$folder/after" ] && cmp -s "$folder/before" "$folder/after" || fail "the user's files were touched"
    echo "ok      purged: nothing is left but the user's files"
    sed 's/^[0-9a-f]* /       /' "$folder/after" | grep Velmor
}

# Inside: the first process of namespaces of its own.
inside() {
    folder="$1"
    local package="$2" first update
    system="$folder/system"
    first="$(version "$package")"
    update="$first+update1"

    make_system
    cp "$package" "$system/packages/velmor.deb"
    install /packages/velmor.deb
    check_installed "$first"
    check_hardening
    check_descriptions
    check_meter

    install xvfb dbus
    write_session
    check_session First

    repacked "$package" "$update"
    install /packages/velmor-update.deb
    check_installed "$update"
    check_session Second
    grep -q '"First"' "$system/home/$user/.local/share/Velmor/sessions.json" || fail "the update has lost a session"
    echo "ok      the update has kept the user's sessions"

    check_purge
}

if [ "${1:-}" = --inside ]; then
    shift
    inside "$@"
else
    outside "$@"
fi
