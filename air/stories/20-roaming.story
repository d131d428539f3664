# A client roams from wlan0 to wlan1 and asks again for its stream
say "The leaving of wlan0 is told before the new request: the stream moves whole."
connect phone1 wlan0
admitted phone1 uplink 631
expect_account wlan0 vo 631
roam phone1 wlan1
admitted phone1 uplink 631
expect_streams "phone1 wlan1 6 voice uplink 631"
expect_account wlan0 vo 0
expect_account wlan1 vo 631
gives_back phone1
expect_nothing_left

say "Told after it, the request is one to change the stream on wlan0: wlan1 books the difference, 0. The leaving then takes the stream away, while the client has it."
tspec-air tell leaving after
connect phone2 wlan0
admitted phone2 uplink 631
roam phone2 wlan1
admitted phone2 uplink 631
until_true 5 told "station disassociated"
expect_streams
expect_account wlan0 vo 0
expect_account wlan1 vo 0
expect "phone2 has its stream all the same" "$(wpa phone2 WMM_AC_STATUS)" "*TSID=6*"
