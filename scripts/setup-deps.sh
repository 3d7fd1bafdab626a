#!/usr/bin/env bash
# Installs the Debian packages Quillon builds, runs and tests with, when any is
# missing. Safe to run repeatedly; does nothing when all are present.
set -euo pipefail

packages=(
  cmake ninja-build g++ pkg-config
  qt6-base-dev qt6-declarative-dev qt6-tools-dev qt6-tools-dev-tools qt6-l10n-tools
  libgtest-dev libgmock-dev
  dbus-daemon python3-dbusmock e2fsprogs
  # Render Mode's finish sound; MATE's lid setting (GSettings); the fan helper link (sd-bus).
  libcanberra-dev libglib2.0-dev libsystemd-dev
  # The tray app: its panel's QML modules, SVG for its icons.
  qml6-module-qtqml qml6-module-qtqml-workerscript qml6-module-qtquick qml6-module-qtquick-controls
  qml6-module-qtquick-layouts qml6-module-qtquick-templates qml6-module-qtquick-window
  qt6-svg-dev libqt6svg6
  # The onboarding's colour emoji.
  fonts-noto-color-emoji
  # GUI tests and the headless demo: a virtual display, a tray, clicks.
  xvfb trayer xdotool
  # The full-screen rule's test: a real window manager and a real X program.
  openbox x11-utils
  # Global shortcuts on X11: key grabs on the root window.
  libxcb1-dev
  # Keep-awake and the lid tested against the desktops' own power services
  # (systemd-logind comes with systemd), and the tray icon's colour against
  # a real panel's tray.
  xfce4-power-manager xfconf xfce4-panel gnome-session-bin mate-session-manager xdg-desktop-portal xdg-desktop-portal-gtk
  # KDE's power manager (about 110 packages, 35 s to install) and MATE's, which needs UPower.
  powerdevil mate-power-manager upower
  # The Debian package: CPack's dependency scan.
  dpkg-dev file
)
packages+=(${QUILLON_EXTRA_PACKAGES:-})

missing=()
for p in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed" || missing+=("$p")
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo=""
[ "$(id -u)" -eq 0 ] || sudo="sudo"
$sudo apt-get update -qq
DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}"
