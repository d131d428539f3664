# Voice is admitted: uplink, downlink, in both directions
say "50 packets of 208 bytes each second. At 6 Mbit/s a packet takes 404 us, so 20200 us in a second: 631 units of 32 us."
connect phone1 wlan0
admitted phone1 uplink 631
expect_streams "phone1 wlan0 6 voice uplink 631"
expect_account wlan0 vo 631
gives_back phone1
expect_nothing_left

say "For what the access point sends the client needs no time of its own: its answer says 0, the account does not."
admitted phone1 downlink 0
expect_streams "phone1 wlan0 6 voice downlink 631"
expect_account wlan0 vo 631
gives_back phone1

say "A call counts twice."
admitted phone1 bidi 631
expect_streams "phone1 wlan0 6 voice bidirectional 631"
expect_account wlan0 vo 1262
gives_back phone1
expect_nothing_left
