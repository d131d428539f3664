# The air is full, then it is not
say "5 per cent for voice are 1562 units. A call takes 1262 of them, and 631 do not fit in what is left."
connect phone1 wlan0
connect phone2 wlan0
admitted phone1 bidi 631
refused phone2 uplink
expect_streams "phone1 wlan0 6 voice bidirectional 631"
expect_account wlan0 vo 1262

gives_back phone1
admitted phone2 uplink 631
expect_streams "phone2 wlan0 6 voice uplink 631"
expect_account wlan0 vo 631
