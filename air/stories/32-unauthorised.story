# Frames on a category without a stream
say "A client of Linux lowers such frames to a category that it may use, so this one is injected."
syslogd -O /run/syslog
mkfifo /tmp/snmp_hostapd_trap
cat 0<>/tmp/snmp_hostapd_trap >/run/trap &
reader=$!
connect phone1 wlan0
tspec-air tell inject "$(mac phone1)" 6
until_true 5 grep -q unauthorized /run/syslog
expect "syslog has it" "$(tail -n 1 /run/syslog)" "*Client $(mac phone1) has sent unauthorized traffic on AC 3"
until_true 5 test -s /run/trap
expect "the trap pipe has it" "$(cat /run/trap)" "9,2,Unauthorized traffic sent,$(mac phone1),voice"

say "With a stream, the same frame is in order."
admitted phone1 uplink 631
tspec-air tell inject "$(mac phone1)" 6
usleep 200000
expect "syslog has no more" "$(grep -c unauthorized /run/syslog)" 1
expect_streams "phone1 wlan0 6 voice uplink 631"
expect_account wlan0 vo 631
kill $reader
rm /tmp/snmp_hostapd_trap
killall syslogd
