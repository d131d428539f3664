# The daemon is killed in the middle of a call
connect phone1 wlan0
admitted phone1 bidi 631
expect_account wlan0 vo 1262
before=$(pidof tspec-daemon)
kill -9 "$before"
until_true 10 daemon_answers
expect "init has started it again" "$([ "$(pidof tspec-daemon)" != "$before" ] && echo again)" again
until_true 5 eval 'account | grep -q "wlan0: vo=0/2187"' # its configuration
expect_nothing_left

say "It remembers nothing, and the client does not know. Asking again, it is admitted as new."
expect "phone1 has its stream" "$(wpa phone1 WMM_AC_STATUS)" "*TSID=6*"
admitted phone1 bidi 631
expect_streams "phone1 wlan0 6 voice bidirectional 631"
expect_account wlan0 vo 1262
