# shellcheck shell=bash
# A PostgreSQL server for one script: in a temporary folder, on a free port of 127.0.0.1, and gone when the script ends.
# Needs common.sh.

# Prints the folder of the newest server's programs.
find_postgresql() {
  local bin
  bin=$(printf '%s\n' /usr/lib/postgresql/*/bin/initdb | sort -V | tail -n 1)
  [ -x "$bin" ] || fail "there is no PostgreSQL server in /usr/lib/postgresql; install the package postgresql"
  dirname "$bin"
}

free_port() {
  python3 -c 'import socket; s = socket.socket(); s.bind(("127.0.0.1", 0)); print(s.getsockname()[1])'
}

# The server refuses to run as root; its own user serves then, or nobody.
choose_server_user() {
  as_server=()
  [ "$(id -u)" -eq 0 ] || return 0
  local user=postgres
  id "$user" >/dev/null 2>&1 || user=nobody
  chown "$user" "$server_folder"
  as_server=(setpriv --reuid "$user" --regid "$(id -g "$user")" --clear-groups)
}

# The password is checked by MD5: SCRAM takes Java's secure random, whose seeding asks Windows for its network adapters
# in a way that Wine 8 does not know, and Java 21 and later die of it.
make_cluster() {
  local bin=$1 password=$2
  printf '%s\n' "$password" >"$server_folder/password"
  (cd "$server_folder" && run_logged "$qv_build/logs/initdb.log" "${as_server[@]}" "$bin/initdb" --pgdata data \
    --username qv --pwfile password --auth md5 --encoding UTF8 --locale C --no-sync) ||
    fail "initdb failed; see the output above"
}

# Answers whether the server came up. Should this script be killed, the server ends by itself.
try_server() {
  local bin=$1 port=$2 tries
  (cd "$server_folder" && exec setpriv --pdeathsig INT "${as_server[@]}" "$bin/postgres" -D data -h 127.0.0.1 -p "$port" -k '' \
    -c fsync=off >"$server_folder/log" 2>&1 </dev/null) &
  server=$!
  for ((tries = 0; tries < 300; tries++)); do
    ! "$bin/pg_isready" -q -h 127.0.0.1 -p "$port" || return 0
    kill -0 "$server" 2>/dev/null || return 1
    sleep 0.1
  done
  return 1
}

# Starts the server; sets postgresql_url to what a JDBC driver wants.
start_postgresql() {
  local bin port password attempt
  bin=$(find_postgresql)
  password=$(od -An -N 12 -t x1 /dev/urandom | tr -d ' \n')
  server_folder=$(mktemp -d "${TMPDIR:-/tmp}/qv-postgresql.XXXXXX")
  trap stop_postgresql EXIT
  choose_server_user
  make_cluster "$bin" "$password"
  for attempt in 1 2 3; do
    port=$(free_port)
    if try_server "$bin" "$port"; then
      postgresql_url="jdbc:postgresql://127.0.0.1:$port/postgres?user=qv&password=$password"
      return
    fi
    note "attempt $attempt: no server on port $port"
  done
  cat "$server_folder/log" >&2
  fail "the PostgreSQL server did not start; see the output above"
}

stop_postgresql() {
  if [ -n "${server:-}" ]; then
    kill -INT "$server" 2>/dev/null || true
    wait "$server" || true
  fi
  rm -rf "$server_folder"
}
