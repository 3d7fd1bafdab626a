#!/usr/bin/python3
"""Stand-ins for two desktop power managers, for tests on private buses, for
what the real ones (run by KdeDesktopTest, XfceDesktopTest)
cannot be made to do. Each behaves as the real one does in what the app relies
on. One per process, chosen by the first argument; the second, if given, is
how many seconds KDE's takes to apply an inhibition (5 in PowerDevil; a longer
delay stands for one that never applies it).

  kde    KDE's PowerDevil's PolicyAgent: AddInhibition, ReleaseInhibition, and
         ListInhibitions as (who, why) and HasInhibition, which both show an
         inhibition only once the delay has passed; the
         org.kde.Solid.PowerManagement name.
  xfce   Xfce's power manager: org.freedesktop.PowerManagement.Inhibit
         (Inhibit, UnInhibit, HasInhibit, GetInhibitors naming the applications;
         applied at once), the
         org.xfce.PowerManager name, Xfce's settings service org.xfce.Xfconf
         (GetProperty, SetProperty, ResetProperty), and logind's lid lock
         (who "xfce4-power-manager"), dropped while the setting
         /xfce4-power-manager/logind-handle-lid-switch is true and taken again
         when it turns false (a reset goes unheard, as in 4.18).

The session bus is DBUS_SESSION_BUS_ADDRESS; logind is looked for on
DBUS_SYSTEM_BUS_ADDRESS. org.quillon.Test.Inhibitions() at /org/quillon/Test
lists the inhibitions asked for as (flags, reason): KDE's by type (applied or
not yet), Xfce's as 4.
"""
import os
import sys
import time

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

live = {}
cookies = iter(range(21, 1 << 31))
settle_s = float(sys.argv[2]) if len(sys.argv) > 2 else 0.0


class LidLock:
    """logind's handle-lid-switch block lock, held through its descriptor."""

    def __init__(self, who, why=None):
        self.who = who
        self.why = why or who + ' handles power events'
        self.fd = None

    def take(self):
        if self.fd is not None:
            return
        system = dbus.bus.BusConnection(os.environ['DBUS_SYSTEM_BUS_ADDRESS'])
        manager = dbus.Interface(system.get_object('org.freedesktop.login1', '/org/freedesktop/login1'),
                                 'org.freedesktop.login1.Manager')
        self.fd = manager.Inhibit('handle-power-key:handle-lid-switch', self.who, self.why, 'block').take()

    def drop(self):
        if self.fd is not None:
            os.close(self.fd)
            self.fd = None


class Probe(dbus.service.Object):
    @dbus.service.method('org.quillon.Test', out_signature='a(us)')
    def Inhibitions(self):
        return dbus.Array([(dbus.UInt32(flags), reason) for flags, reason, _, _ in live.values()], signature='(us)')


class PolicyAgent(dbus.service.Object):
    IFACE = 'org.kde.Solid.PowerManagement.PolicyAgent'

    @dbus.service.method(IFACE, in_signature='uss', out_signature='u')
    def AddInhibition(self, types, who, why):
        cookie = next(cookies)
        live[cookie] = (int(types), str(why), time.monotonic() + settle_s, str(who))
        return dbus.UInt32(cookie)

    @dbus.service.method(IFACE, in_signature='u')
    def ReleaseInhibition(self, cookie):
        live.pop(int(cookie), None)

    @dbus.service.method(IFACE, out_signature='a(ss)')
    def ListInhibitions(self):
        # Every caller's, once applied.
        now = time.monotonic()
        return dbus.Array([(who, why) for _, why, since, who in live.values() if since <= now], signature='(ss)')

    @dbus.service.method(IFACE, in_signature='u', out_signature='b')
    def HasInhibition(self, types):
        now = time.monotonic()
        return any(held & types and since <= now for held, _, since, _ in live.values())


class FdoInhibit(dbus.service.Object):
    IFACE = 'org.freedesktop.PowerManagement.Inhibit'

    @dbus.service.method(IFACE, in_signature='ss', out_signature='u')
    def Inhibit(self, application, reason):
        cookie = next(cookies)
        live[cookie] = (4, str(reason), 0.0, str(application))
        return dbus.UInt32(cookie)

    @dbus.service.method(IFACE, in_signature='u')
    def UnInhibit(self, cookie):
        live.pop(int(cookie), None)

    @dbus.service.method(IFACE, out_signature='b')
    def HasInhibit(self):
        return bool(live)

    @dbus.service.method(IFACE, out_signature='as')
    def GetInhibitors(self):
        return dbus.Array([app for _, _, _, app in live.values()], signature='s')


class Xfconf(dbus.service.Object):
    IFACE = 'org.xfce.Xfconf'
    LID = ('xfce4-power-manager', '/xfce4-power-manager/logind-handle-lid-switch')

    def __init__(self, bus, path, lid):
        super().__init__(bus, path)
        self.values = {}
        self.lid = lid

    def changed(self):
        # After the reply, as the power manager reacts to xfconf's signal.
        def apply():
            if self.values.get(self.LID, False):
                self.lid.drop()
            else:
                self.lid.take()
        GLib.idle_add(lambda: apply() and False)

    @dbus.service.method(IFACE, in_signature='ss', out_signature='v')
    def GetProperty(self, channel, prop):
        if (channel, prop) not in self.values:
            raise dbus.exceptions.DBusException('Property "%s" does not exist on channel "%s"' % (prop, channel),
                                                name='org.xfce.Xfconf.Error.PropertyNotFound')
        return self.values[(channel, prop)]

    @dbus.service.method(IFACE, in_signature='ssv')
    def SetProperty(self, channel, prop, value):
        self.values[(str(channel), str(prop))] = value
        self.changed()

    @dbus.service.method(IFACE, in_signature='ssb')
    def ResetProperty(self, channel, prop, recursive):
        self.values.pop((str(channel), str(prop)), None)


if __name__ == '__main__':
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    keep = [Probe(bus, '/org/quillon/Test')]
    lid = None
    if sys.argv[1] == 'kde':
        keep.append(PolicyAgent(bus, '/org/kde/Solid/PowerManagement/PolicyAgent'))
        names = ['org.kde.Solid.PowerManagement.PolicyAgent', 'org.kde.Solid.PowerManagement']
    else:
        lid = LidLock('xfce4-power-manager')
        keep.append(FdoInhibit(bus, '/org/freedesktop/PowerManagement/Inhibit'))
        keep.append(Xfconf(bus, '/org/xfce/Xfconf', lid))
        names = ['org.xfce.Xfconf', 'org.xfce.PowerManager', 'org.freedesktop.PowerManagement']
    if lid:
        lid.take()
    # Claimed last, so that everything is in place once the last name shows.
    keep += [dbus.service.BusName(name, bus) for name in names]
    GLib.MainLoop().run()
