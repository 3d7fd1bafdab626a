#!/usr/bin/env bash
# The demo: the tray app on a simulated Mac, with a fan helper of its own
# (`quillon --demo`). With a display, it runs until you quit it from its
# panel or press Ctrl-C. Without one (or with QUILLON_DEMO_HEADLESS=1), it
# starts a virtual display with a tray, takes the app on a short scripted
# tour (its welcome window first, when it shows one) and saves screenshots
# along the way.
set -euo pipefail
cd "$(dirname "$0")/.."
bash scripts/setup-deps.sh
bash scripts/build.sh build >/dev/null

bin=$PWD/build/bin
say() { printf '\n\033[1m%s\033[0m\n' "$*"; }

if [ -n "${DISPLAY:-}${WAYLAND_DISPLAY:-}" ] && [ -z "${QUILLON_DEMO_HEADLESS:-}" ]; then
  say "Quillon runs on a simulated Mac. It greets you with its intro (unless you completed this version's already);"
  echo "afterwards its panel opens by itself once, then via the tray icon."
  echo "Script it from another terminal, for example:"
  echo "  $bin/quillon ctl status"
  echo "  $bin/quillon ctl awake --for 1h"
  echo "  $bin/quillon ctl fans auto max"
  echo "Heat the simulated Mac with the panel's \"Simulated load\" slider. Quit from the panel or with Ctrl-C."
  exec "$bin/quillon" --demo
fi

shots=$PWD/build/demo-screenshots
work=$(mktemp -d)
rm -rf "$shots" && mkdir -p "$shots"
pids=()
cleanup() {
  for ((i = ${#pids[@]} - 1; i >= 0; i--)); do kill -TERM "${pids[i]}" 2>/dev/null || true; done
  wait 2>/dev/null || true
  rm -rf "$work"
}
trap cleanup EXIT

say "No display here: starting a virtual one (Xvfb) with a system tray (trayer)."
# -displayfd: Xvfb picks a free display and writes its number once it is ready.
Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$work/display" >"$work/xvfb.log" 2>&1 &
pids+=($!)
waitfor() { # waitfor SECONDS COMMAND...: until the command succeeds
  local deadline=$((SECONDS + $1)); shift
  until "$@" >/dev/null 2>&1; do
    [ $SECONDS -lt $deadline ] || return 1
    sleep 0.2
  done
}
waitfor 10 test -s "$work/display" || { echo "Xvfb did not start; see $work/xvfb.log" >&2; exit 1; }
export DISPLAY=:$(head -n 1 "$work/display")
trayer --edge top --align right --widthtype request --height 24 --SetDockType true --transparent false \
  --expand true >"$work/trayer.log" 2>&1 &
pids+=($!)

# A session bus of its own, for the app's scripting interface.
dbus-daemon --session --nofork --print-address=1 >"$work/bus" 2>"$work/bus.log" &
pids+=($!)
waitfor 10 test -s "$work/bus" || { echo "dbus-daemon did not start; see $work/bus.log" >&2; exit 1; }
export DBUS_SESSION_BUS_ADDRESS=$(head -n 1 "$work/bus")
unset QUILLON_SMC QUILLON_HELPER_BUS

"$bin/quillon" --demo >"$work/app.log" 2>&1 &
app=$!
pids+=($app)
ctl() { "$bin/quillon" ctl "$@"; }
if ! waitfor 20 ctl status; then
  echo "The app did not come up:" >&2
  cat "$work/app.log" >&2
  exit 1
fi
panel() { # the panel's window id, if it is open (the tray icon is the other, small window)
  xdotool search --onlyvisible --name '^Quillon$' 2>/dev/null | while read -r w; do
    [ "$(xdotool getwindowgeometry --shell "$w" | sed -n 's/^WIDTH=//p')" -gt 100 ] && echo "$w"
  done | head -n 1
}
panel_open() { [ -n "$(panel)" ]; }
shot() { # shot NAME: the panel (or the screen without it), after it has drawn
  sleep 0.6
  local window; window=$(panel)
  "$bin/quillon-screengrab" "$shots/$1.png" ${window:+"$window"} 2>/dev/null
  "$bin/quillon-screengrab" "$shots/$1-screen.png" 2>/dev/null
  echo "  saved $1.png"
}
intro() { # the welcome window's id, while it is open
  xdotool search --onlyvisible --name '^Willkommen bei Quillon$' 2>/dev/null | head -n 1
}
intro_open() { [ -n "$(intro)" ]; }
temps() { ctl status | sed -n 's/.*"cpu": \([0-9.]*\).*/\1/p' | head -n 1 | xargs printf '  CPU %.0f °C\n'; }

if waitfor 5 intro_open; then
  say "0. A new version greets with its six-page intro (the user's settings say which version's was completed):"
  window=$(intro)
  for page in 1 2 3 4 5 6; do
    [ "$page" -gt 1 ] && xdotool windowfocus "$window" key Right
    sleep 0.9
    "$bin/quillon-screengrab" "$shots/0-intro-page-$page.png" "$window" 2>/dev/null
    echo "  saved 0-intro-page-$page.png"
  done
  xdotool windowfocus "$window" key Return # "Let's go!"
  waitfor 5 sh -c "! xdotool search --onlyvisible --name '^Willkommen bei Quillon\$'" || true
  say "1. \"Let's go!\" closes the intro, and the panel opens by itself to show where the app lives:"
else
  say "1. The app is up, its gauge in the tray. A new build opens its panel once by itself:"
fi
waitfor 5 panel_open || true
shot 1-panel-at-launch

say "2. Keep-awake for two hours, from a script (quillon ctl awake --for 2h):"
# Where nothing holds keep-awake (no logind: a container, a CI machine), ctl
# says why and exits 1; the panel shows the same reason.
ctl awake --for 2h || echo "  (not in force here; the panel says why)"
shot 2-keep-awake

say "3. Closed-lid keep-awake on (quillon ctl lid on); it asks for balanced cooling:"
ctl lid on || echo "  (not in force here; the panel says why)"
shot 3-closed-lid

say "4. Heavy load on the simulated Mac (the panel's Simulated load slider writes the same key):"
demo_dir=$(sed -n 's/.*are running (\(.*\))\./\1/p' "$work/app.log")
QUILLON_SMC="sim:$demo_dir/mac.sock" "$bin/quillon-helper" --smc-write u8:QLOD 100 >/dev/null
temps
sleep 6
temps
ctl fans auto max
echo "  cooling at max: the helper holds the fans above the firmware's own curve"
sleep 4
ctl status | grep -E '"(currentRPM|status)"' | sed 's/^ */  /'
# Open the fan section: its header sits a fixed distance above the panel's foot.
if window=$(panel) && [ -n "$window" ]; then
  eval "$(xdotool getwindowgeometry --shell "$window")"
  xdotool mousemove $((X + 100)) $((Y + HEIGHT - 171)) click 1
fi
shot 4-fans-under-load

say "5. Everything off (quillon ctl reset); the load eases:"
ctl reset
QUILLON_SMC="sim:$demo_dir/mac.sock" "$bin/quillon-helper" --smc-write u8:QLOD 8 >/dev/null
shot 5-all-off

say "6. Render Mode (quillon ctl render on): a dim overlay with the render's figures covers the screen;"
echo "  its own Exit button, clicked, leaves Render Mode:"
ctl render on || echo "  (Render Mode is on, but its keep-awake is not in force here)"
overlay_window() { # its id, while it is shown
  xdotool search --onlyvisible --name '^Quillon Render Mode$' 2>/dev/null | head -n 1
}
overlay_shown() { [ -n "$(overlay_window)" ]; }
if waitfor 10 overlay_shown; then
  sleep 0.6
  "$bin/quillon-screengrab" "$shots/6-render-mode.png" 2>/dev/null && echo "  saved 6-render-mode.png"
  eval "$(xdotool getwindowgeometry --shell "$(overlay_window)")"
  # The button sits centred, 64 px above the overlay's bottom edge.
  xdotool mousemove $((X + WIDTH / 2)) $((Y + HEIGHT - 84)) click 1
  if waitfor 10 sh -c "! xdotool search --onlyvisible --name '^Quillon Render Mode\$'"; then
    state=$(ctl status | python3 -c 'import json, sys; print("on" if json.load(sys.stdin)["render"]["enabled"] else "off")')
    echo "  the overlay is gone; Render Mode is $state"
  else
    echo "  the overlay did not go away" >&2
  fi
fi

say "7. The settings window (quillon ctl settings):"
ctl settings
settings_window() { # its id, while it is open (titled in the app's language)
  xdotool search --onlyvisible --name '^Quillon (Settings|Einstellungen)$' 2>/dev/null | head -n 1
}
settings_open() { [ -n "$(settings_window)" ]; }
if waitfor 5 settings_open; then
  sleep 0.6
  "$bin/quillon-screengrab" "$shots/7-settings.png" "$(settings_window)" 2>/dev/null
  echo "  saved 7-settings.png"
fi

say "8. Quitting the app stops its simulated Mac and helper."
kill -TERM "$app"
wait "$app" 2>/dev/null || true

say "Screenshots of the tour are in $shots:"
ls -1 "$shots" | sed 's/^/  /'
echo "On a machine with a display, the same command runs the demo for you to use."
