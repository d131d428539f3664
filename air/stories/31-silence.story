# A stream falls silent
say "One second is allowed."
configure <<END
[wlan0]
enabled = yes
voice_mandatory = yes
voice_limit = 5
uplink_timeout = 1
END
connect phone1 wlan0
admitted phone1 uplink 631
expect_streams "phone1 wlan0 6 voice uplink 631"
reports phone1 "$(wpa phone1 "" TSPEC-REMOVED 5)" "TSPEC-REMOVED*"
expect_nothing_left
