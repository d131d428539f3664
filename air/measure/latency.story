# What 200 requests take, from the client's command to its event (run with --real-time)
measure() { # what
    times=$(tspec-air latency /run/wpa/phone1 200) || not_ok "$1" "$times"
    printf '%s%-44s%s\n' "$indent" "$1" "$times"
}
connect phone1 wlan0
tspec-air tell quiet on
say "Requests, then median, 99th percentile and maximum in microseconds."
for round in 1 2; do
    tspec-air tell answers hostapd
    measure "hostapd answers by itself"
    tspec-air tell answers daemon
    tspec-air tell durations >/dev/null
    configure </etc/tspec/tspec.conf
    measure "the daemon, with its question"
    tspec-air tell durations | {
        read -r whole
        read -r daemon
        printf '%s%-44s%s\n%s%-44s%s\n' "$indent" "  of it from frame to frame in the relay" "$whole" \
            "$indent" "  of it in the daemon" "$daemon"
    }
    configure <<END
[wlan0]
enabled = yes
voice_limit = 5
END
    measure "the daemon, admission not mandatory to it"
    tspec-air tell durations | {
        read -r whole
        read -r daemon
        printf '%s%-44s%s\n%s%-44s%s\n' "$indent" "  of it from frame to frame in the relay" "$whole" \
            "$indent" "  of it in the daemon" "$daemon"
    }
done
tspec-air tell quiet off
ok "load of the machine: $(cut -d ' ' -f 1-3 /proc/loadavg)"
