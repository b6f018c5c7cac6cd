# What the scripts share: messages, root's rights, the cache folder and apt. To be sourced.
# shellcheck shell=bash disable=SC2154
umask 022 # the test servers' users read what is unpacked here
export PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
readonly project
readonly apt_patience_s=1800
readonly unreadable_sign='['\''"\\&$;()*?<>|`]' # in a folder's name, by windres or CMake
readonly hidden_folder='^/(usr|etc|run)/'        # tools/sandbox lays others over these
readonly unreachable='(Temporary failure resolving|Could not resolve|Could not connect|Cannot initiate the connection|Network is unreachable|Connection (failed|refused|timed out)).*'

say() { echo "${0##*/}: $*" >&2; }

fail() {
  say "$*"
  exit 1
}

# Runs a long step with its output in a log that is shown only if the step fails.
logged() {
  local log=$1
  shift
  "$@" >"$log" 2>&1 </dev/null || {
    tail -n 40 "$log" >&2
    fail "failed: $*"
  }
}

# sudo asks for its password here, where nothing hides the question.
ask_for_root() {
  [ "$EUID" -ne 0 ] || return 0
  command -v sudo >/dev/null || fail "this needs root: run it as root, or as a user with sudo"
  sudo --non-interactive true 2>/dev/null || sudo --validate || fail "this needs root, and sudo refuses"
}

as_root() {
  if [ "$EUID" -eq 0 ]; then "$@"; else sudo "$@"; fi
}

# Whether files can be made in a folder, and programs run from it.
is_usable() {
  local probe status=0
  mkdir -p "$1" 2>/dev/null && [ -O "$1" ] && probe=$(mktemp "$1/probe.XXXXXX" 2>/dev/null) || return
  chmod +x "$probe"
  [ -x "$probe" ] || status=1 # false on a file system mounted noexec, for root too
  rm "$probe"
  return "$status"
}

# Prints the folder for what is fetched or built once: in the user's cache if that is of use, for this clone alone
# otherwise.
cache_folder() {
  local home=""
  [ ! -d "${HOME:-}" ] || home=$HOME/.cache
  [[ ${XDG_CACHE_HOME:-} != /* ]] || home=$XDG_CACHE_HOME
  if [ -n "$home" ] && [[ ! $home =~ $unreadable_sign|$hidden_folder ]] && is_usable "$home/zdv-ftp"; then
    echo "$home/zdv-ftp"
  elif is_usable "$project/build/cache"; then
    echo "$project/build/cache"
  else
    fail "neither the home folder nor $project/build takes files and lets programs run"
  fi
}

# Holds a lock file until this script ends.
lock() {
  exec 9>"$1"
  flock --nonblock 9 || {
    say "waiting for another run, which holds $1"
    flock 9
  }
}

# Ends the script because of what apt wrote into the logs given; the first is that of the command that failed.
apt_failed() {
  local reason
  if reason=$(grep -ohEm 1 "$unreachable" "$@" 2>/dev/null | sed 1q); then
    fail "Debian's packages cannot be fetched; is there a network? ($reason)"
  fi
  tail -n 40 "$1" >&2
  fail "apt failed"
}

# Runs apt on the machine's own packages, as soon as no other program does. The logs go to $cache, the caller's
# cache_folder.
system_apt() {
  local log=$cache/apt-$1.log told="" deadline=$((SECONDS + apt_patience_s))
  ask_for_root
  # sudo takes the addresses of proxies away.
  until as_root env DEBIAN_FRONTEND=noninteractive ${http_proxy:+"http_proxy=$http_proxy"} \
    ${https_proxy:+"https_proxy=$https_proxy"} ${no_proxy:+"no_proxy=$no_proxy"} \
    apt-get -q -y "$@" >"$log" 2>&1 </dev/null; do
    grep -qE 'Could not get lock|Unable to (lock|acquire)' "$log" || apt_failed "$log" "$cache/apt-update.log"
    [ "$SECONDS" -lt "$deadline" ] || fail "another program keeps apt busy, for $((apt_patience_s / 60)) minutes now"
    [ -n "$told" ] || say "another program uses apt: waiting for it"
    told=yes
    sleep 2
  done
}

update_package_lists() {
  say "updating the package lists"
  system_apt update
}
