# The client waits one second, the daemon two
say "hostapd is slow to say how long a frame lasts: 1.3 seconds. Too late for the client, in time for the daemon, which has the stream from then on."
connect phone1 wlan0
tspec-air tell delay 1300
refused phone1 uplink
until_true 5 eval '[ -n "$(streams)" ]'
expect_streams "phone1 wlan0 6 voice uplink 631"
expect_account wlan0 vo 631

say "Asking again, the client gets what the daemon holds for it, and it is not booked twice."
tspec-air tell delay 0
admitted phone1 uplink 631
expect_streams "phone1 wlan0 6 voice uplink 631"
expect_account wlan0 vo 631
