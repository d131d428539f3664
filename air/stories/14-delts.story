# A stream is ended: by its client, by the operator, by mapd
connect phone1 wlan0
admitted phone1 uplink 631
gives_back phone1
expect_nothing_left

say "The operator."
admitted phone1 bidi 631
loses_stream phone1 tspec-cli delete-stream "$(mac phone1)" 6
expect_nothing_left

say "mapd, which admitted it. While it manages the access point, the account is its own: the daemon's stays at 0."
mapd_starts accept
admitted phone1 uplink 631
expect_streams "phone1 wlan0 6 voice uplink 631"
expect_account wlan0 vo 0
loses_stream phone1 kill -USR1 "$mapd"
expect_nothing_left
