// What the simulated radios of Linux lack of an access point's driver:
//
//  - the private request by which the daemon asks for the state of a station, on
//    every interface named wlan<radio> or wlan<radio>vap<n>;
//  - /proc/net/ieee80211/wlan<radio>/iface/wlan<radio> with the channel's utilisation;
//  - the feature bit without which clients refuse to ask for uplink streams.
//
// It has no look into the stack's own tables, so it is told: lines written to
// /proc/tspec_radio,
//
//     station INTERFACE MAC FLAGS      flags of the answer, in hex; 0 forgets the station
//     utilisation INTERFACE PERCENT
#include <linux/ctype.h>
#include <linux/if_arp.h>
#include <linux/module.h>
#include <linux/netdevice.h>
#include <linux/proc_fs.h>
#include <linux/rtnetlink.h>
#include <linux/seq_file.h>
#include <linux/spinlock.h>
#include <linux/uaccess.h>
#include <net/cfg80211.h>
#include <net/net_namespace.h>

#define STATUS_QUERY 0x41
#define MAX_STATIONS 64
#define MAX_INTERFACES 16
#define RADIOS 2

// The daemon's request block, as its processor lays it out.
struct status_request {
    u32 sub_command;
    void __user *buffer;
    u32 length;
    u8 flags;
};

struct station {
    char interface[IFNAMSIZ];
    u8 mac[ETH_ALEN];
    u32 flags; // 0: the place is free
};

// A device whose operations are ours, and what they were.
struct interface {
    struct net_device *dev;
    const struct net_device_ops *original;
    struct net_device_ops ops;
};

static DEFINE_SPINLOCK(table_lock); // stations and utilisation
static struct station stations[MAX_STATIONS];
static int utilisation[RADIOS];
static struct interface interfaces[MAX_INTERFACES]; // under the RTNL

static struct station *find_station(const char *interface, const u8 *mac)
{
    int i;

    for (i = 0; i < MAX_STATIONS; i++)
        if (stations[i].flags != 0 && !strcmp(stations[i].interface, interface) &&
            ether_addr_equal(stations[i].mac, mac))
            return &stations[i];
    return NULL;
}

static int set_station(const char *interface, const u8 *mac, u32 flags)
{
    struct station *station;
    int i, status = 0;

    spin_lock_bh(&table_lock);
    station = find_station(interface, mac);
    for (i = 0; station == NULL && i < MAX_STATIONS; i++)
        if (stations[i].flags == 0)
            station = &stations[i];
    if (station == NULL) {
        status = -ENOSPC;
    } else {
        strscpy(station->interface, interface, sizeof(station->interface));
        ether_addr_copy(station->mac, mac);
        station->flags = flags;
    }
    spin_unlock_bh(&table_lock);
    return status;
}

static u32 flags_of(const char *interface, const u8 *mac)
{
    const struct station *station;
    u32 flags;

    spin_lock_bh(&table_lock);
    station = find_station(interface, mac);
    flags = station != NULL ? station->flags : 0;
    spin_unlock_bh(&table_lock);
    return flags;
}

// ---- the private request -------------------------------------------------

static int answer_request(struct net_device *dev, struct ifreq *ifr, void __user *data, int cmd)
{
    struct status_request request;
    u8 mac[ETH_ALEN];
    char text[32];
    int size;

    if (cmd != SIOCDEVPRIVATE)
        return -EOPNOTSUPP;
    if (copy_from_user(&request, data, sizeof(request)))
        return -EFAULT;
    if (request.sub_command != STATUS_QUERY || request.length < sizeof(text))
        return -EINVAL;
    if (copy_from_user(mac, request.buffer, sizeof(mac)))
        return -EFAULT;
    size = scnprintf(text, sizeof(text), "client_status=%x\n", flags_of(dev->name, mac));
    return copy_to_user(request.buffer, text, size + 1) ? -EFAULT : 0;
}

static bool is_access_point(const char *name)
{
    unsigned int radio, vap;
    char rest;

    return sscanf(name, "wlan%u%c", &radio, &rest) == 1 ||
           sscanf(name, "wlan%uvap%u%c", &radio, &vap, &rest) == 2;
}

static struct interface *interface_of(const struct net_device *dev)
{
    int i;

    for (i = 0; i < MAX_INTERFACES; i++)
        if (interfaces[i].dev == dev)
            return &interfaces[i];
    return NULL;
}

// The stack puts its own operations back when an interface changes its type.
static void take_over(struct net_device *dev)
{
    struct interface *interface = interface_of(dev);

    if (!is_access_point(dev->name) || dev->ieee80211_ptr == NULL)
        return;
    if (interface == NULL)
        interface = interface_of(NULL);
    if (interface == NULL || dev->netdev_ops == &interface->ops)
        return;
    interface->dev = dev;
    interface->original = dev->netdev_ops;
    interface->ops = *dev->netdev_ops;
    interface->ops.ndo_siocdevprivate = answer_request;
    dev->netdev_ops = &interface->ops;
}

static void give_back(struct net_device *dev)
{
    struct interface *interface = interface_of(dev);

    if (interface == NULL)
        return;
    if (dev->netdev_ops == &interface->ops)
        dev->netdev_ops = interface->original;
    interface->dev = NULL;
}

static int device_event(struct notifier_block *block, unsigned long event, void *data)
{
    struct net_device *dev = netdev_notifier_info_to_dev(data);

    switch (event) {
    case NETDEV_REGISTER:
        if (dev->ieee80211_ptr != NULL)
            dev->ieee80211_ptr->wiphy->features |= NL80211_FEATURE_SUPPORTS_WMM_ADMISSION;
        break;
    case NETDEV_UP:
        take_over(dev);
        break;
    case NETDEV_UNREGISTER:
        give_back(dev);
        break;
    }
    return NOTIFY_DONE;
}

static struct notifier_block device_events = {.notifier_call = device_event};

// ---- files ---------------------------------------------------------------

static int show_utilisation(struct seq_file *file, void *unused)
{
    const int *value = file->private;

    seq_printf(file, "channel_util %d\n", *value);
    return 0;
}

// The interface "wlan<radio>" of a line.
static int radio_of(const char *interface)
{
    unsigned int radio;
    char rest;

    if (sscanf(interface, "wlan%u%c", &radio, &rest) != 1 || radio >= RADIOS)
        return -1;
    return radio;
}

static int obey(const char *line)
{
    char interface[IFNAMSIZ];
    unsigned int flags;
    u8 mac[ETH_ALEN];
    int radio, percent;

    if (sscanf(line, "station %15s %hhx:%hhx:%hhx:%hhx:%hhx:%hhx %x", interface, &mac[0], &mac[1],
               &mac[2], &mac[3], &mac[4], &mac[5], &flags) == 8)
        return set_station(interface, mac, flags);
    if (sscanf(line, "utilisation %15s %d", interface, &percent) == 2) {
        radio = radio_of(interface);
        if (radio < 0)
            return -EINVAL;
        utilisation[radio] = percent;
        return 0;
    }
    return -EINVAL;
}

// One line for each write.
static ssize_t write_control(struct file *file, const char __user *text, size_t size, loff_t *at)
{
    char line[80];
    int status;

    if (size >= sizeof(line))
        return -EINVAL;
    if (copy_from_user(line, text, size))
        return -EFAULT;
    line[size] = '\0';
    status = obey(line);
    return status < 0 ? status : size;
}

static const struct proc_ops control_ops = {.proc_write = write_control};

static struct proc_dir_entry *control, *folder;

static int make_files(void)
{
    char path[40];
    int radio;

    control = proc_create("tspec_radio", 0600, NULL, &control_ops);
    folder = proc_mkdir("ieee80211", init_net.proc_net);
    if (control == NULL || folder == NULL)
        return -ENOMEM;
    for (radio = 0; radio < RADIOS; radio++) {
        struct proc_dir_entry *parent;

        snprintf(path, sizeof(path), "wlan%d", radio);
        parent = proc_mkdir(path, folder);
        if (parent != NULL)
            parent = proc_mkdir("iface", parent);
        if (parent == NULL ||
            !proc_create_single_data(path, 0444, parent, show_utilisation, &utilisation[radio]))
            return -ENOMEM;
    }
    return 0;
}

static void remove_files(void)
{
    proc_remove(folder);
    proc_remove(control);
}

static int __init start(void)
{
    int status = make_files();

    if (status == 0) // also told of the devices that are there
        status = register_netdevice_notifier(&device_events);
    if (status != 0)
        remove_files();
    return status;
}

static void __exit stop(void)
{
    int i;

    unregister_netdevice_notifier(&device_events);
    rtnl_lock();
    for (i = 0; i < MAX_INTERFACES; i++)
        if (interfaces[i].dev != NULL)
            give_back(interfaces[i].dev);
    rtnl_unlock();
    remove_files();
}

module_init(start);
module_exit(stop);
MODULE_DESCRIPTION("Driver interface of the TSPEC daemon on simulated radios");
MODULE_LICENSE("Proprietary"); // none has been chosen: no symbols kept for GPL modules
