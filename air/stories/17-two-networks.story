# Two networks on one radio share its air
connect phone1 wlan0
connect phone2 wlan0vap1
admitted phone1 bidi 631
refused phone2 uplink
gives_back phone1
admitted phone2 uplink 631
expect_streams "phone2 wlan0vap1 6 voice uplink 631"
expect_account wlan0 vo 631
