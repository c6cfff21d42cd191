# shellcheck shell=bash
# Installs the packages that are missing. To be sourced.

# wanted_packages PURPOSE...: the names in the lists scripts/packages/PURPOSE.txt, one a line.
wanted_packages() {
    (cd scripts/packages && sed 's/#.*//' "${@/%/.txt}") | tr -s '[:space:]' '\n' | sed '/^$/d' | sort -u
}

# Those of them that are not installed.
missing_packages() {
    comm -23 <(wanted_packages "$@") \
        <(dpkg-query -W -f '${Package} ${db:Status-Status}\n' | sed -n 's/ installed$//p' | sort -u)
}

# Whether to go on although installed packages go away. Asks, unless it was answered before.
may_remove() {
    local answer
    printf 'This removes or replaces installed packages:\n%s\n' "$1" >&2
    if [[ "$2" == yes || -n "${CI:-}" ]]; then
        return 0
    fi
    if [[ ! -t 0 ]]; then
        echo "Say --yes to allow it." >&2
        return 1
    fi
    read -r -p "Go on? [y/N] " answer
    [[ "$answer" == [yY]* ]]
}

# install_missing ASSUME_YES PURPOSE...: needs no network if nothing is missing. From the top of the tree.
install_missing() {
    local yes=$1 missing removed
    shift
    if ! command -v dpkg-query >/dev/null; then
        echo "This is no Debian system: the packages in scripts/packages are up to you." >&2
        return 0
    fi
    mapfile -t missing < <(missing_packages "$@")
    if ((${#missing[@]} == 0)); then
        return 0
    fi
    if ((EUID != 0)); then
        echo "Packages are missing. As root:" >&2
        echo "  apt-get install --no-install-recommends ${missing[*]}" >&2
        return 1
    fi
    local install=(apt-get -o DPkg::Lock::Timeout=300 install --no-install-recommends "${missing[@]}")
    echo "Installing ${missing[*]}" >&2
    apt-get -q update >&2
    removed=$("${install[@]}" --simulate --quiet | sed -n 's/^Remv \([^ ]*\).*/  \1/p')
    if [[ -n "$removed" ]] && ! may_remove "$removed" "$yes"; then
        return 1
    fi
    DEBIAN_FRONTEND=noninteractive "${install[@]}" --yes --quiet >&2
}
