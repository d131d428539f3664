# A protected network: WPA2, its keys exchanged before the first call
connect phone1 wlan0vap2
expect "phone1 has keys" "$(wpa phone1 STATUS | grep pairwise_cipher)" "pairwise_cipher=CCMP"
admitted phone1 bidi 631
expect_streams "phone1 wlan0vap2 6 voice bidirectional 631"
expect_account wlan0 vo 1262
gives_back phone1
expect_nothing_left
