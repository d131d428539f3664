# A client comes by fast transition
say "The transition is real. That it brings a stream along is played: this pair of client and hostapd says nothing of streams in it."
connect phone1 wlan0vap2 ft
admitted phone1 bidi 631
expect_streams "phone1 wlan0vap2 6 voice bidirectional 631"
roam phone1 wlan1vap1
expect "by fast transition" "$(wpa phone1 STATUS | grep key_mgmt)" "key_mgmt=FT-PSK"
expect_streams "phone1 wlan1vap1 6 voice bidirectional 631"
expect_account wlan0 vo 0
expect_account wlan1 vo 1262
