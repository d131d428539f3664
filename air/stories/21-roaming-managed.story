# The same while mapd manages the access point: the client counts as roaming
mapd_starts accept
connect phone1 wlan0
admitted phone1 uplink 631
expect "wlan0 has no roaming client" "$(roaming_clients 0)" 0
roam phone1 wlan1
admitted phone1 uplink 631
expect_streams "phone1 wlan1 6 voice uplink 631"
expect "wlan1 has one roaming client" "$(roaming_clients 1)" 1
gives_back phone1

say "With the leaving told after the new request, the stream stays with wlan0 until the leaving takes it away."
tspec-air tell leaving after
connect phone2 wlan0
admitted phone2 uplink 631
roam phone2 wlan1
admitted phone2 uplink 631
until_true 5 told "station disassociated"
expect_streams
