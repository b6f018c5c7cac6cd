# Debian's archive beside the machine's own packages: other releases and source packages. To be sourced after
# machine.sh, with $work naming a scratch folder.
# shellcheck shell=bash disable=SC2154

readonly keyring=/usr/share/keyrings/debian-archive-keyring.gpg

# The address that the machine's own configuration gives for an archive ("Debian" or
# "Debian-Security"), in whichever format it is written.
archive_uri() {
  # shellcheck disable=SC2016 # apt replaces these names
  apt-get indextargets --format '$(ORIGIN)|$(LABEL)|$(REPO_URI)' |
    sed -n "s/^Debian|$1|//p" | sed -n 1p
}

# Usage: write_sources FOLDER TYPE SUITE..., where the type is deb or deb-src
write_sources() {
  local folder=$1 type=$2 suite label uri
  shift 2
  for suite in "$@"; do
    label=Debian
    [[ $suite != *-security ]] || label=Debian-Security
    uri=$(archive_uri "$label")
    if [ -z "$uri" ] && [ "$label" = Debian-Security ]; then
      say "apt's sources on this machine name no security archive: taking what the main one has"
      continue
    fi
    [ -n "$uri" ] || fail "apt's sources on this machine name no mirror of Debian"
    printf 'Types: %s\nURIs: %s\nSuites: %s\nComponents: main\nSigned-By: %s\n\n' \
      "$type" "$uri" "$suite" "$keyring"
  done >"$folder/debian.sources"
}

# apt with lists, state and cache of its own: the machine's package lists stay as they are.
private_apt() {
  local command=$1 folder=$work/apt
  shift
  "$command" -q -o Dir::Etc::SourceList="$folder/debian.sources" -o Dir::Etc::SourceParts=/dev/null \
    -o Dir::State="$folder/state" -o Dir::State::status="$folder/status" \
    -o Dir::Cache="$folder/cache" -o APT::Sandbox::User="" "$@"
}

# Usage: open_private_apt TYPE SUITE...
open_private_apt() {
  local folder=$work/apt
  mkdir -p "$folder"/{state/lists/partial,cache/archives/partial}
  : >"$folder/status"
  [ -n "$(archive_uri Debian)" ] || update_package_lists
  write_sources "$folder" "$@"
  private_apt apt-get update --error-on=any >"$work/apt-update.log" 2>&1 || apt_failed "$work/apt-update.log"
}
