#!/usr/bin/env bash
# Runs a program with windows on a virtual display of its own and takes a screenshot of its first window.
# usage: scripts/on-virtual-display.sh [--close] PICTURE PROGRAM [ARGUMENT...]
# With --close the program's windows are closed after the screenshot, else it runs until it ends or Ctrl+C.
set -euo pipefail

closeAfterwards=false
if [ "${1-}" = --close ]; then
    closeAfterwards=true
    shift
fi
picture=$1
shift

displayServer='' windowManager='' program=''
private=$(mktemp -d)

fail()
{
    printf '%s\n' "$@" >&2
    exit 1
}

running()
{
    [ -n "$1" ] && kill -0 "$1" 2>/dev/null
}

end()
{
    ! running "$1" || kill "$1" 2>/dev/null || true
    [ -z "$1" ] || wait "$1" 2>/dev/null || true
}

clean_up()
{
    trap '' INT TERM HUP
    end "$program"
    end "$windowManager"
    end "$displayServer"
    rm -rf "$private"
}

# Waits up to SECONDS for CONDITION while PROCESS lives.
wait_for()
{
    local seconds=$1 process=$2 tries
    shift 2
    for ((tries = seconds * 10; tries > 0; --tries)); do
        ! "$@" || return 0
        running "$process" || return 1
        sleep 0.1
    done
    return 1
}

# The display server takes the first free number. Every process here gets a session of its own: Ctrl+C is for this
# script, which then closes things in order.
start_display()
{
    local cookie
    cookie=$(mcookie)
    export XAUTHORITY=$private/authority
    xauth -q add :0 . "$cookie" 2>"$private/xauth.log"
    setsid Xvfb -displayfd 3 -screen 0 1280x960x24 -nolisten tcp -auth "$XAUTHORITY" \
        3>"$private/display" >"$private/server.log" 2>&1 &
    displayServer=$!
    wait_for 20 "$displayServer" test -s "$private/display" ||
        fail "The virtual display could not be started:" "$(cat "$private/server.log")"
    DISPLAY=:$(cat "$private/display")
    export DISPLAY
    xauth -q add "$DISPLAY" . "$cookie"
}

# It announces itself long before it looks at windows (the first time it builds the font cache in between) and never
# finds those that open meanwhile; its start-up command runs when it is ready.
start_window_manager()
{
    setsid openbox --sm-disable --config-file /etc/xdg/openbox/rc.xml --startup "touch '$private/managing'" \
        >"$private/manager.log" 2>&1 &
    windowManager=$!
    wait_for 60 "$windowManager" test -e "$private/managing" ||
        fail "The window manager could not be started:" "$(cat "$private/manager.log")"
}

start_program()
{
    unset WAYLAND_DISPLAY
    QT_QPA_PLATFORM=xcb setsid "$@" &
    program=$!
    wait_for 60 "$program" has_window || fail "No window of ${1##*/} appeared."
}

windows()
{
    wmctrl -l 2>/dev/null | cut -d ' ' -f 1
}

has_window()
{
    [ -n "$(windows)" ]
}

take_screenshot()
{
    sleep 1 # a window is there before it is painted
    mkdir -p "$(dirname "$picture")"
    import -silent -window root -trim +repage "$picture"
    echo "Screenshot: $picture"
}

# As an operator would, the topmost message box included.
close_windows()
{
    local window
    for window in $(windows); do
        wmctrl -i -c "$window" 2>/dev/null || true
    done
    ! running "$program"
}

close_program()
{
    wait_for 20 "$program" close_windows || ! running "$program" || fail "The program did not close."
}

stop()
{
    trap '' INT TERM HUP
    close_program
    exit 130
}

trap clean_up EXIT
trap 'exit 130' INT TERM HUP

start_display
start_window_manager
echo "No desktop display is used: ${1##*/} runs on the virtual display $DISPLAY."
start_program "$@"
trap stop INT TERM HUP
take_screenshot
if $closeAfterwards; then
    close_program
else
    echo "Ctrl+C ends it."
fi
wait "$program"
