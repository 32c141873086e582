#!/usr/bin/env bash
# Installs those packages that are missing of the lists named; without a name, of packaging/packages.txt. Where none is,
# it asks for no rights and takes no noticeable time, so every command may call it.
# usage: scripts/install-packages.sh [LIST...]
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

readonly servicePolicy=/usr/sbin/policy-rc.d
readonly enabledUnits=/etc/systemd/system
readonly postgresDefaults=/etc/postgresql-common/createcluster.conf
readonly postgresTemplate=/usr/share/postgresql-common/createcluster.conf

fail()
{
    printf '%s\n' "$@" >&2
    exit 1
}

wanted_packages()
{
    sed -e 's/#.*//' -e '/^[[:space:]]*$/d' -e 's/[[:space:]]//g' "$@" | sort -u
}

installed_packages()
{
    # Fails for names it does not know: these are the missing ones.
    { dpkg-query --show --showformat '${Package} ${db:Status-Status}\n' "$@" 2>/dev/null || true; } |
        sed -n 's/ installed$//p' | sort -u
}

as_root()
{
    if [ "$(id -u)" -eq 0 ]; then
        env DEBIAN_FRONTEND=noninteractive "$@"
    else
        sudo env DEBIAN_FRONTEND=noninteractive "$@"
    fi
}

# PostgreSQL's package would set up a cluster and start it with the machine; only its programs are wanted. The answer
# "no cluster" stands for this installation only, and never replaces a file that an administrator has.
forbid_postgres_cluster()
{
    [ ! -e "$postgresDefaults" ] || return 0
    as_root sh -c 'mkdir -p "${1%/*}" && echo "create_main_cluster = false" >"$1"' sh "$postgresDefaults"
    undo+=(restore_postgres_defaults)
}

restore_postgres_defaults()
{
    if [ -e "$postgresTemplate" ]; then
        as_root cp "$postgresTemplate" "$postgresDefaults"
    else
        as_root rm -f "$postgresDefaults"
    fi
}

# Tests start the servers they need by themselves: whatever service a package brings is neither started now nor enabled.
forbid_services()
{
    enabledBefore=$(enabled_units)
    undo+=(disable_new_units)
    [ ! -e "$servicePolicy" ] || return 0
    as_root sh -c 'printf "#!/bin/sh\nexit 101\n" >"$1" && chmod 755 "$1"' sh "$servicePolicy"
    undo+=(allow_services)
}

allow_services()
{
    as_root rm -f "$servicePolicy"
}

enabled_units()
{
    find "$enabledUnits" -type l -path '*.wants/*' 2>/dev/null | sort
}

disable_new_units()
{
    local unit
    while IFS= read -r unit; do
        [ -z "$unit" ] || as_root rm -f "$unit"
    done < <(comm -13 <(echo "$enabledBefore") <(enabled_units))
}

undo=()
undo_all()
{
    local step
    for step in "${undo[@]}"; do "$step" || true; done
}
trap undo_all EXIT

command -v dpkg-query >/dev/null && command -v apt-get >/dev/null ||
    fail "This is not a Debian system. Install what packaging/*packages.txt name by other means, then build with:" \
        "  cmake --preset release && cmake --build --preset release"

[ $# -gt 0 ] || set -- packaging/packages.txt
mapfile -t wanted < <(wanted_packages "$@")
mapfile -t missing < <(comm -23 <(printf '%s\n' "${wanted[@]}") <(installed_packages "${wanted[@]}"))
[ "${#missing[@]}" -gt 0 ] || exit 0

[ "$(id -u)" -eq 0 ] || command -v sudo >/dev/null ||
    fail "Packages are missing, and installing them takes root or sudo. As root:" \
        "  apt-get install --no-install-recommends ${missing[*]}"

echo "Installing ${#missing[@]} missing packages: ${missing[*]}"
# A foreign source that cannot be read must not stop what Debian's own have to offer.
as_root apt-get update -qq || echo "Some package lists could not be read; going on with the others." >&2
forbid_services
forbid_postgres_cluster
as_root apt-get install -y -qq --no-install-recommends -o Dpkg::Use-Pty=0 -o DPkg::Lock::Timeout=300 "${missing[@]}" ||
    fail "The packages could not be installed; the reason stands above."
