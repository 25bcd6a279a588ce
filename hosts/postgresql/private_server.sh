# A private copy of the platform's PostgreSQL with the extension in it, and servers that run from there: what tests and demos source.
# Nothing of the system's own installation changes.
#
#   private_install BUILD            makes the copy; $private_bin has its programs
#   as_owner COMMAND...              runs a command as the owner of the servers: the user postgres for root, otherwise oneself
#   private_folder NAME              makes a folder of the owner's, empty, and prints it
#   private_start NAME [SETTING...]  makes a cluster and starts its server, on a Unix socket alone
#   private_restart NAME SETTING...  the same server with further settings
#   private_sql NAME [OPTION...]     psql on such a server
#   private_stop                     stops them all; they are stopped in any case when the script ends, and private_at_end is called
#
# Status 77 where there is no PostgreSQL 15 to copy.

private_fail() { echo "$(basename "$0"): $1" >&2; exit "${2:-1}"; }

# A folder that the owner can reach: root's home, for one, is closed to others.
private_reachable() { as_owner test -x "$1" && as_owner test -r "$1"; }

as_owner() {
    if [ "$(id -u)" -eq 0 ]; then runuser -u postgres -- "$@"; else "$@"; fi
}

private_find() { # BUILD
    local config
    config=$(command -v pg_config) || private_fail "pg_config is missing (package postgresql-server-dev-15)" 77
    private_system_bin=$("$config" --bindir)
    [ -x "$private_system_bin/postgres" ] || private_fail "$private_system_bin/postgres is missing (package postgresql-15)" 77
    [ "$(id -u)" -ne 0 ] || id postgres >/dev/null 2>&1 || private_fail "there is no user postgres to run a server as" 77
    private_share=$("$config" --sharedir) private_library=$("$config" --pkglibdir)
    private_root=$1/hosts/postgresql/server
    mkdir -p "$private_root"
    if ! private_reachable "$private_root"; then
        # Elsewhere, in a folder that the build remembers.
        private_root=$(cat "$1/hosts/postgresql/server.folder" 2>/dev/null) || true
        if [ ! -d "$private_root" ]; then
            private_root=$(mktemp -d /tmp/qbgl-server.XXXXXX)
            chmod 755 "$private_root"
            echo "$private_root" >"$1/hosts/postgresql/server.folder"
        fi
    fi
    private_bin=$private_root$private_system_bin
    private_running=()
    trap 'private_stop; private_at_end' EXIT
    trap 'exit 130' INT
    trap 'exit 143' TERM
    # Paths of sockets have at most 107 bytes.
    private_sockets=$(as_owner mktemp -d /tmp/qbgl.XXXXXX)
}

private_install() { # BUILD
    private_find "$1"
    local folder
    for folder in "$private_share" "$private_library"; do
        rm -rf "${private_root:?}$folder"
        mkdir -p "$private_root$folder"
        cp -rs "$folder/." "$private_root$folder"
    done
    # A server looks for the rest from where its program is, and a link would lead to the system's.
    rm -rf "$private_bin"
    mkdir -p "$private_bin"
    cp -a "$private_system_bin/." "$private_bin"
    make --no-print-directory --silent -C "$1/hosts/postgresql" -f "$private_source/Makefile" \
        QBGL_BUILD="$1" DESTDIR="$private_root" install
}

private_folder() { # NAME
    local folder=$private_root/run/$1
    rm -rf "$folder"
    mkdir -p "$folder"
    if [ "$(id -u)" -eq 0 ]; then chown postgres: "$folder"; fi
    echo "$folder"
}

private_start() { # NAME [SETTING...]
    local name=$1 folder setting
    folder=$(private_folder "$name")
    shift
    as_owner "$private_bin/initdb" -D "$folder/data" -U postgres -A trust -N -E UTF8 --locale=C.UTF-8 >"$folder.log" 2>&1 ||
        { cat "$folder.log" >&2; return 1; }
    mkdir -p "$private_sockets/$name"
    if [ "$(id -u)" -eq 0 ]; then chown postgres: "$private_sockets/$name"; fi
    for setting in "listen_addresses = ''" "unix_socket_directories = '$private_sockets/$name'" "fsync = off" "$@"; do
        echo "$setting"
    done >>"$folder/data/postgresql.conf"
    private_running+=("$folder/data")
    as_owner "$private_bin/pg_ctl" -D "$folder/data" -l "$folder/log" -w start >>"$folder.log" 2>&1 ||
        { cat "$folder.log" "$folder/log" >&2; return 1; }
}

private_restart() { # NAME SETTING...
    local folder=$private_root/run/$1
    shift
    printf '%s\n' "$@" >>"$folder/data/postgresql.conf"
    as_owner "$private_bin/pg_ctl" -D "$folder/data" -l "$folder/log" -w -m fast restart >>"$folder.log" 2>&1 ||
        { cat "$folder.log" "$folder/log" >&2; return 1; }
}

private_socket() { echo "$private_sockets/$1"; }
private_sql() { # NAME [OPTION...]
    local name=$1
    shift
    "$private_bin/psql" -X -q -h "$private_sockets/$name" -U postgres -d postgres -v ON_ERROR_STOP=1 "$@"
}

private_stop() {
    local data
    for data in ${private_running[@]+"${private_running[@]}"}; do
        [ ! -e "$data/postmaster.pid" ] || as_owner "$private_bin/pg_ctl" -D "$data" -m immediate -w stop >/dev/null 2>&1 || true
        rm -rf "$data"
    done
    private_running=()
    rm -rf "${private_sockets:?}"
}

private_at_end() { :; }

private_source=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)
