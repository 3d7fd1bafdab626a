#!/usr/bin/env bash
# Builds the Debian package of a built tree and checks it: the file name,
# what it holds and with which modes, the paths inside the helper's unit and
# activation file, the control data and maintainer scripts, and, where
# lintian is installed, that lintian finds no error.
#   packaging/check-deb.sh BUILD_DIR
set -euo pipefail
build=$(cd "${1:-build}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
fail() { echo "check-deb: $*" >&2; exit 1; }

version=$(sed -n 's/^CMAKE_PROJECT_VERSION:STATIC=//p' "$build/CMakeCache.txt")
arch=$(dpkg --print-architecture)
deb="$work/quillon_${version}_${arch}.deb"
(cd "$build" && cpack -G DEB -B "$work" >"$work/cpack.log" 2>&1) || { cat "$work/cpack.log" >&2; fail "cpack failed"; }
[ -f "$deb" ] || fail "no $(basename "$deb"); cpack made: $(ls "$work")"

dpkg-deb --contents "$deb" >"$work/contents"
expect() { # MODE PATH
  grep -qE "^$1 root/root +[0-9]+ [0-9-]+ [0-9:]+ \.$2\$" "$work/contents" || fail "missing or wrong mode: $1 $2"
}
helper=org.quillon.Quillon.smchelper
expect -rwxr-xr-x /usr/bin/quillon
expect -rwxr-xr-x /usr/libexec/quillon/quillon-helper
expect -rwxr-xr-x /usr/libexec/quillon/quillon-update-check
expect -rw-r--r-- "/lib/systemd/system/$helper.service"
expect -rw-r--r-- "/usr/share/dbus-1/system.d/$helper.conf"
expect -rw-r--r-- "/usr/share/dbus-1/system-services/$helper.service"
expect -rw-r--r-- "/usr/share/polkit-1/actions/$helper.policy"
expect -rw-r--r-- /usr/share/applications/org.quillon.Quillon.desktop
expect -rw-r--r-- /usr/share/icons/hicolor/scalable/apps/org.quillon.Quillon.svg
expect -rw-r--r-- /usr/share/metainfo/org.quillon.Quillon.metainfo.xml
expect -rw-r--r-- /usr/share/man/man1/quillon.1.gz
expect -rw-r--r-- /usr/share/doc/quillon/copyright
if grep -q '/usr/local\|/bin/quillon-helper$' "$work/contents"; then fail "files outside the package's paths"; fi

mkdir "$work/root"
dpkg-deb --extract "$deb" "$work/root"
grep -qx "ExecStart=/usr/libexec/quillon/quillon-helper --daemon" "$work/root/lib/systemd/system/$helper.service" \
  || fail "the unit does not start the packaged helper"
grep -qx "ExecStopPost=/usr/libexec/quillon/quillon-helper --release" "$work/root/lib/systemd/system/$helper.service" \
  || fail "the unit does not release the fans with the packaged helper"
grep -qx "Exec=/usr/libexec/quillon/quillon-helper --daemon" \
  "$work/root/usr/share/dbus-1/system-services/$helper.service" || fail "the activation file names another helper"

dpkg-deb --field "$deb" Package Version Architecture Depends >"$work/control"
grep -qx "Package: quillon" "$work/control" || fail "package name"
grep -qx "Version: $version" "$work/control" || fail "version"
grep -qx "Architecture: $arch" "$work/control" || fail "architecture"
grep -q "^Depends: .*dbus" "$work/control" || fail "no dependency on dbus"
dpkg-deb --control "$deb" "$work/control.d"
for script in postinst prerm postrm; do
  [ -x "$work/control.d/$script" ] || fail "no executable $script"
  sh -n "$work/control.d/$script" || fail "$script does not parse"
done
grep -q "quillon-helper --release" "$work/control.d/prerm" || fail "prerm does not hand the fans back"

if command -v lintian >/dev/null; then
  lintian --fail-on error "$deb" || fail "lintian reports errors"
  echo "check-deb: lintian: no errors"
else
  echo "check-deb: lintian is not installed; its check did not run"
fi
echo "check-deb: $(basename "$deb") is complete"
