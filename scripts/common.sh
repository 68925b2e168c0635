# shellcheck shell=sh disable=SC2164,SC3013 # sourced under set -e; dash knows -ef
# Sourced by the scripts beside it: goes to the root of the tree, and holds what they share.
script=$(readlink -f "$0")
cd -P "$(dirname "$script")/.."
tree=$PWD

# Prints the comment at the top of the script, which is its help.
show_help() {
    sed -n '2,/^set/{/^#/s/^# \{0,1\}//p}' "$script"
}

# For the arguments that no script has a meaning for: --help answers, everything else is refused.
answer() {
    case $1 in
    --help | -h)
        show_help
        exit 0
        ;;
    esac
    echo "scripts/$(basename "$script"): unknown argument '$1'" >&2
    show_help >&2
    exit 2
}

# Whether a configured build directory was configured for this tree and where it stands now.
belongs_here() {
    home=$(sed -n 's/^CMAKE_HOME_DIRECTORY:INTERNAL=//p' "$1/CMakeCache.txt")
    place=$(sed -n 's/^CMAKE_CACHEFILE_DIR:INTERNAL=//p' "$1/CMakeCache.txt")
    [ "$home" -ef "$tree" ] && [ "$place" -ef "$1" ]
}

# configure DIRECTORY CMAKE-ARGUMENT...: in a copied or moved tree the directory still builds the
# old one, so it is made anew.
configure() {
    directory=$1
    shift
    if [ -f "$directory/CMakeCache.txt" ] && ! belongs_here "$directory"; then
        echo "scripts/$(basename "$script"): $directory was made in another place: making it anew" >&2
        rm -rf "$directory"
    fi
    cmake -B "$directory" -Wno-dev "$@" >&2
}
