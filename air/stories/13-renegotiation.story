# A stream becomes larger and smaller, and keeps what it has when there is no more
connect phone1 wlan0
admitted phone1 uplink 631

say "Twice the rate: 100 packets, 40400 us in a second, 1262 units."
admitted phone1 uplink 1262 rate=166400
expect_streams "phone1 wlan0 6 voice uplink 1262"
expect_account wlan0 vo 1262

say "Three times the rate are 1893 units, more than the 1562 that there are. The stream stays as it is."
refused phone1 uplink rate=249600
expect_streams "phone1 wlan0 6 voice uplink 1262"
expect_account wlan0 vo 1262

say "Half the rate: 25 packets, 10100 us, 315 units."
admitted phone1 uplink 315 rate=41600
expect_streams "phone1 wlan0 6 voice uplink 315"
expect_account wlan0 vo 315
