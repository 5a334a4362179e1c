# shellcheck shell=bash
# Debian's archive as this machine's apt reaches it; sourced.

# debian_mirror LABEL: the mirror of the first of apt's sources that has this label; nothing if none
# has.
debian_mirror() {
  apt-get indextargets --format "\$(LABEL)|\$(REPO_URI)" | sed -n "s/^$1|//p" | sed -n 1p
}

# make_own_apt FOLDER MIRROR SUITE: makes a folder for own_apt, with this one source.
make_own_apt() {
  [[ -n $2 ]] || {
    echo "apt has no source with the label Debian: check its sources, and run apt-get update" >&2
    return 1
  }
  rm -rf "$1"
  mkdir -p "$1"/{lists,archives}/partial
  touch "$1/status"
  echo "deb [signed-by=/usr/share/keyrings/debian-archive-keyring.gpg] $2 $3 main" >"$1/sources"
}

# own_apt FOLDER COMMAND [ARGUMENT...]: apt-get or apt-cache with the state in this folder, so that
# the machine's is not touched.
own_apt() {
  "$2" -o Dir::Etc::SourceList="$1/sources" -o Dir::Etc::SourceParts=/dev/null -o Dir::State="$1" \
    -o Dir::State::status="$1/status" -o Dir::Cache="$1" -o Acquire::Languages=none \
    -o APT::Sandbox::User=root "${@:3}"
}
