# What the scripts share: messages, root's rights, the cache folder and apt. To be sourced.
# shellcheck shell=bash disable=SC2154
umask 022 # the test servers' users read what is unpacked here
export PATH=/usr/sbin:/usr/bin:/sbin:/bin LC_ALL=C.UTF-8

project=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
readonly project
readonly apt_patience_s=1800
readonly unreadable_sign='['\''"\\&$;()*?<>|`]' # windres or CMake cannot read these in a folder's name
readonly hidden_folder='^/(usr|etc|run)/'        # tools/sandbox mounts others over these
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

# Has sudo ask for the password here, where the question is seen.
ask_for_root() {
  [ "$EUID" -ne 0 ] || return 0
  command -v sudo >/dev/null || fail "this needs root rights: run it as root, or as a user with sudo"
  sudo --non-interactive true 2>/dev/null || sudo --validate || fail "this needs root rights, and sudo refused them"
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

# Prints the folder for what is fetched or built once. It is in the user's cache, or in this clone if the cache cannot
# be used.
cache_folder() {
  local home=""
  [ ! -d "${HOME:-}" ] || home=$HOME/.cache
  [[ ${XDG_CACHE_HOME:-} != /* ]] || home=$XDG_CACHE_HOME
  if [ -n "$home" ] && [[ ! $home =~ $unreadable_sign|$hidden_folder ]] && is_usable "$home/zdv-ftp"; then
    echo "$home/zdv-ftp"
  elif is_usable "$project/build/cache"; then
    echo "$project/build/cache"
  else
    fail "files cannot be written, or programs cannot be run, in the home folder and in $project/build"
  fi
}

# Holds a lock file until this script ends.
lock() {
  exec 9>"$1"
  flock --nonblock 9 || {
    say "waiting until another run releases $1"
    flock 9
  }
}

# Usage: apt_failed LOG...; ends the script with the reason that apt's logs give. The first is the failed command's.
apt_failed() {
  local reason
  if reason=$(grep -ohEm 1 "$unreachable" "$@" 2>/dev/null | sed 1q); then
    fail "Debian's packages cannot be downloaded. Is there a network? ($reason)"
  fi
  tail -n 40 "$1" >&2
  fail "apt failed"
}

# Runs apt on the machine's own packages, as soon as no other program does. The logs go to $cache, which the caller sets
# to cache_folder.
system_apt() {
  local log=$cache/apt-$1.log told="" deadline=$((SECONDS + apt_patience_s))
  ask_for_root
  # sudo would remove the proxies from the environment.
  until as_root env DEBIAN_FRONTEND=noninteractive ${http_proxy:+"http_proxy=$http_proxy"} \
    ${https_proxy:+"https_proxy=$https_proxy"} ${no_proxy:+"no_proxy=$no_proxy"} \
    apt-get -q -y "$@" >"$log" 2>&1 </dev/null; do
    grep -qE 'Could not get lock|Unable to (lock|acquire)' "$log" || apt_failed "$log" "$cache/apt-update.log"
    [ "$SECONDS" -lt "$deadline" ] || fail "another program has been using apt for $((apt_patience_s / 60)) minutes: run this again when it has ended"
    [ -n "$told" ] || say "waiting for another program that is using apt"
    told=yes
    sleep 2
  done
}

update_package_lists() {
  say "updating the package lists"
  system_apt update
}
