#!/usr/bin/env bash
# Builds the Debian package from a configured build folder and checks it as a machine's
# administrator would meet it: what it installs, lintian's verdict, and that the program
# it carries runs.
#   deb_test.sh <build folder> <version>
set -euo pipefail
build=$1
version=$2
scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT

cpack -G DEB -B "$scratch" --config "$build/CPackConfig.cmake" >/dev/null
deb="$scratch/parlavox_${version}_amd64.deb"
[ -f "$deb" ] || { echo "no $deb" >&2; exit 1; }

contents=$(dpkg-deb -c "$deb" | awk '{print $6}')
for path in ./usr/bin/parlavox ./usr/share/applications/parlavox.desktop \
    ./usr/share/icons/hicolor/scalable/apps/parlavox.svg ./usr/share/metainfo/parlavox.metainfo.xml \
    ./usr/share/doc/parlavox/parlavox-help.html ./usr/share/doc/parlavox/copyright \
    ./usr/share/doc/parlavox/changelog.gz ./usr/share/man/man1/parlavox.1.gz; do
  grep -qxF "$path" <<<"$contents" || { echo "missing $path" >&2; exit 1; }
done

depends=$(dpkg-deb -f "$deb" Depends)
for library in libpulse0 libqt6widgets6 libsndfile1; do
  grep -q "$library" <<<"$depends" || { echo "Depends lacks $library: $depends" >&2; exit 1; }
done

if ! verdict=$(lintian --fail-on error "$deb" 2>&1); then
  echo "lintian reports errors:" >&2
  echo "$verdict" >&2
  exit 1
fi

dpkg-deb -x "$deb" "$scratch/root"
reported=$(env -u DISPLAY -u WAYLAND_DISPLAY "$scratch/root/usr/bin/parlavox" --version)
[ "$reported" = "parlavox $version" ] || { echo "--version said: $reported" >&2; exit 1; }
echo "parlavox_${version}_amd64.deb: contents, dependencies, lintian and --version hold"
