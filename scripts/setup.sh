#!/usr/bin/env bash
# Installs every Debian package that building, running and testing Parlavox needs;
# with --tests also those that only the test script's run needs. Idempotent: packages
# already present are not fetched again.
set -euo pipefail

packages=(
  # build
  cmake ninja-build g++ pkg-config qt6-base-dev qt6-svg-dev libpulse-dev libsndfile1-dev
  libx11-dev libsmbclient-dev libsecret-1-dev libgtest-dev libgmock-dev libbenchmark-dev
  clang-format
  # the sanitizer builds with clang (its thread-safety analysis among them) and the
  # sanitizers' runtimes, which apt only recommends; pgrep, with which the test script
  # ends the second build
  clang libclang-rt-14-dev procps
  # tests: a private sound server, a virtual desktop (display, window manager, tray)
  # with real key presses and screenshots, audio tools
  pulseaudio pulseaudio-utils xvfb openbox trayer xdotool x11-utils x11-xkb-utils imagemagick
  espeak-ng sox python3
  # a private session bus for the desktop-portal tests
  dbus-daemon
  # a private Samba server for the office-network tests, Samba's NetBIOS name lookup
  # (nmblookup) to measure ours by, and a secret store with a password saved as the file
  # manager saves it
  samba smbclient samba-common-bin gnome-keyring libsecret-tools
  # a share mounted through FUSE (smbnetfs), as some desktops reach them
  smbnetfs
  # the Debian package: dependencies from dpkg-shlibdeps, checked by lintian
  dpkg-dev lintian
)
if [ "${1:-}" = --tests ]; then
  # The sound tests run once more on PipeWire's PulseAudio server, as Debian's desktops
  # have it. Only here: installed, it is started for everybody at the next login, and
  # on a desktop that runs PulseAudio the two would contend for the same socket.
  packages+=(pipewire pipewire-pulse wireplumber)
fi

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q 'install ok installed' || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

if [ "$(id -u)" -ne 0 ]; then
  SUDO=sudo
else
  SUDO=
fi
echo "setup: installing ${missing[*]}" >&2
export DEBIAN_FRONTEND=noninteractive
$SUDO apt-get update -qq
$SUDO apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
