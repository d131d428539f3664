# mapd decides: it admits, it refuses, it is silent
mapd_starts accept
connect phone1 wlan0
admitted phone1 bidi 631
expect_streams "phone1 wlan0 6 voice bidirectional 631"
expect_account wlan0 vo 0
gives_back phone1
mapd_ends

mapd_starts refuse
refused phone1 uplink
expect_streams
mapd_ends

say "Silence: after a second the client gives up. For the daemon the request is pending for ever, and it drops the client's next one."
mapd_starts silent
refused phone1 uplink
expect_streams "phone1 wlan0 6 voice uplink 631"
refused phone1 uplink
expect_streams "phone1 wlan0 6 voice uplink 631"
expect_account wlan0 vo 0
