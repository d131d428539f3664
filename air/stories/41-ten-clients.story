# Ten clients ask at once
say "18 per cent are 5625 units: room for eight streams of 631."
configure <<END
[wlan0]
enabled = yes
voice_mandatory = yes
voice_limit = 18
END
start_phones 3 10
ten="phone1 phone2 phone3 phone4 phone5 phone6 phone7 phone8 phone9 phone10"
for phone in $ten; do connect_in_background "$phone" wlan0; done
wait_for_connections
asking=
for phone in $ten; do
    addts "$phone" uplink >"/run/$phone.event" &
    asking="$asking $!"
done
# shellcheck disable=SC2086
wait ${asking:?}
expect "eight are admitted" "$(cat /run/phone*.event | grep -c TSPEC-ADDED)" 8
expect "two are refused" "$(cat /run/phone*.event | grep -c TSPEC-REQ-FAILED)" 2
expect "tspec-cli streams shows eight" "$(streams | grep -c 'wlan0 6 voice uplink 631')" 8
expect_account wlan0 vo 5048
reset
kill "$(cat /run/phones3)"
