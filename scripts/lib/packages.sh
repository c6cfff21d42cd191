# shellcheck shell=bash
# Functions that install missing packages. Source this file.

# wanted_packages PURPOSE...: prints the names in the lists scripts/packages/PURPOSE.txt, one on each line.
wanted_packages() {
    (cd scripts/packages && sed 's/#.*//' "${@/%/.txt}") | tr -s '[:space:]' '\n' | sed '/^$/d' | sort -u
}

# missing_packages PURPOSE...: prints the names that are not installed.
missing_packages() {
    comm -23 <(wanted_packages "$@") \
        <(dpkg-query -W -f '${Package} ${db:Status-Status}\n' | sed -n 's/ installed$//p' | sort -u)
}

# may_remove PACKAGES YES: whether installed packages may be removed. Asks, unless YES is "yes" or CI is set.
may_remove() {
    local answer
    printf 'This removes or replaces installed packages:\n%s\n' "$1" >&2
    if [[ "$2" == yes || -n "${CI:-}" ]]; then
        return 0
    fi
    if [[ ! -t 0 ]]; then
        echo "To allow this, use --yes." >&2
        return 1
    fi
    read -r -p "Continue? [y/N] " answer
    [[ "$answer" == [yY]* ]]
}

# install_missing ASSUME_YES PURPOSE...: needs no network if nothing is missing. From the top of the tree.
install_missing() {
    local yes=$1 missing removed
    shift
    if ! command -v dpkg-query >/dev/null; then
        echo "This is not a Debian system. Install the packages in scripts/packages yourself." >&2
        return 0
    fi
    mapfile -t missing < <(missing_packages "$@")
    if ((${#missing[@]} == 0)); then
        return 0
    fi
    if ((EUID != 0)); then
        echo "Packages are missing. Run as root:" >&2
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
