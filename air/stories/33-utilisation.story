# The daemon reads how busy the channel is
say "The relay reckons the share of the time that frames took in the last second. It comes to the daemon by the driver's file and to its console."
connect phone1 wlan0
until_true 5 grep -qv ' 0$' /proc/net/ieee80211/wlan0/iface/wlan0
tspec-cli debug info 2>/dev/null
before=$(cat /proc/net/ieee80211/wlan0/iface/wlan0)
admitted phone1 uplink 631
after=$(cat /proc/net/ieee80211/wlan0/iface/wlan0)
tspec-cli debug off 2>/dev/null
read=$(sed -n 's/.*tspec_get_wlan_util:wlan_util is \([0-9]*\).*/channel_util \1/p' /run/console | tail -n 1)
case "$read" in
"$before" | "$after") ok "the daemon has read $read" ;;
*) not_ok "the daemon has read $before or $after" "$read" ;;
esac
expect_streams "phone1 wlan0 6 voice uplink 631"
expect_account wlan0 vo 631
