# shellcheck shell=bash
# The programs that read the sources, and the one release of each that decides: those of
# Debian 12. Others see other things.
declare -A decides=([clang-format]=14 [clang-tidy]=14 [cppcheck]=2.10)

# The reader's command here: under the name with the number where there is one, as
# other releases than Debian 12 have it.
reader() { # name
    local command=$1-${decides[$1]}
    command -v "$command" >/dev/null || command=$1
    echo "$command"
}

# Says which release is here where it is another one than decides, or that none is.
other_reader() { # name
    local command version
    command=$(reader "$1")
    if ! command -v "$command" >/dev/null; then
        echo "no $1 here, ${decides[$1]} decides"
        return
    fi
    version=$("$command" --version | grep -oE '[0-9]+(\.[0-9]+)*' | head -n 1)
    case "$version." in
    "${decides[$1]}".*) return 1 ;;
    esac
    case "${decides[$1]}" in
    *.*) version=$(cut -d. -f1-2 <<<"$version") ;;
    *) version=${version%%.*} ;;
    esac
    echo "$1 $version, ${decides[$1]} decides"
}

sources() { # patterns...: the files that git knows or would add
    git ls-files --cached --others --exclude-standard -- "$@"
}

formatted_sources() {
    sources '*.h' '*.cpp' '*.c'
}
