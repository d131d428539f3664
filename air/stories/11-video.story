# Video is refused where voice would fit
say "1 per cent for video are 312 units; the same 631 as before are too many."
connect phone1 wlan0
refused phone1 uplink tid=5 up=5
expect_nothing_left
expect_account wlan0 vi 0
