# A client goes: by its own will, sent away, without a word
connect phone1 wlan0
admitted phone1 uplink 631
while_done phone1 CTRL-EVENT-DISCONNECTED "*reason=3*" wpa phone1 DISCONNECT
until_true 5 told "station disassociated  phone1"
expect_nothing_left

say "The access point sends it away."
connect phone1 wlan0
admitted phone1 bidi 631
while_done phone1 CTRL-EVENT-DISCONNECTED "*reason=2*" hostapd_obeys wlan0 "DEAUTHENTICATE $(mac phone1)"
until_true 5 told "station disassociated  phone1"
expect_nothing_left

say "Its battery is empty: hostapd finds out when it has been silent for two seconds and does not answer (ap_max_inactivity)."
connect phone2 wlan0
admitted phone2 uplink 631
expect_account wlan0 vo 631
tspec-air tell radio "$(mac phone2)" off
until_true 60 told "station disassociated  phone2"
expect_nothing_left
