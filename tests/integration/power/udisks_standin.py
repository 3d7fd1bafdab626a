#!/usr/bin/python3
"""A stand-in for UDisks2 on the system bus of a test: org.freedesktop.UDisks2
with the object manager at /org/freedesktop/UDisks2 and one block device
object per entry of the JSON file given as the only argument:

  [{"name": "sdb1", "label": "Footage", "mounts": ["/media/ada/Footage"],
    "system": false, "ignore": false, "filesystem": true}, ...]

Properties carry UDisks2's own types (MountPoints and Device are
NUL-terminated byte strings). A drive object without a block device is
added as well, as UDisks2 lists drives beside their block devices.

Given "hung" instead of a file, it takes the name and never answers.
"""
import json
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

ROOT = '/org/freedesktop/UDisks2'


def byte_string(text):
    return dbus.Array([dbus.Byte(b) for b in text.encode() + b'\0'], signature='y')


def block_device(entry):
    interfaces = {
        'org.freedesktop.UDisks2.Block': dbus.Dictionary({
            'Device': byte_string('/dev/' + entry['name']),
            'Drive': dbus.ObjectPath(ROOT + '/drives/Stand_In_Drive'),
            'IdLabel': entry.get('label', ''),
            'HintName': entry.get('hintName', ''),
            'HintSystem': dbus.Boolean(entry.get('system', False)),
            'HintIgnore': dbus.Boolean(entry.get('ignore', False)),
            'HintAuto': dbus.Boolean(True),
        }, signature='sv'),
    }
    if entry.get('filesystem', True):
        interfaces['org.freedesktop.UDisks2.Filesystem'] = dbus.Dictionary({
            'MountPoints': dbus.Array([byte_string(m) for m in entry.get('mounts', [])], signature='ay'),
            'Size': dbus.UInt64(1 << 30),
        }, signature='sv')
    return interfaces


class Manager(dbus.service.Object):
    def __init__(self, bus, entries):
        super().__init__(bus, ROOT)
        self.objects = {ROOT + '/block_devices/' + e['name']: block_device(e) for e in entries}
        self.objects[ROOT + '/drives/Stand_In_Drive'] = {
            'org.freedesktop.UDisks2.Drive': dbus.Dictionary({
                'Removable': dbus.Boolean(True), 'ConnectionBus': 'usb'}, signature='sv')}

    @dbus.service.method('org.freedesktop.DBus.ObjectManager', out_signature='a{oa{sa{sv}}}')
    def GetManagedObjects(self):
        return dbus.Dictionary({dbus.ObjectPath(p): i for p, i in self.objects.items()}, signature='oa{sa{sv}}')


class HungManager(dbus.service.Object):
    @dbus.service.method('org.freedesktop.DBus.ObjectManager', out_signature='a{oa{sa{sv}}}',
                         async_callbacks=('reply', 'error'))
    def GetManagedObjects(self, reply, error):
        pass  # never answers


if __name__ == '__main__':
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SystemBus()
    if sys.argv[1] == 'hung':
        keep = HungManager(bus, ROOT)
    else:
        with open(sys.argv[1]) as f:
            keep = Manager(bus, json.load(f))
    bus_name = dbus.service.BusName('org.freedesktop.UDisks2', bus)
    GLib.MainLoop().run()
