#!/usr/bin/python3
"""Stand-ins for the session services that take inhibitions, for tests on a
private bus. One service per process, chosen by the first argument:

  portal         org.freedesktop.portal.Desktop: org.freedesktop.portal.Inhibit,
                 each inhibition a request object closed through
                 org.freedesktop.portal.Request.Close; it answers each request
                 with Response 0 right after replying, as a working backend does
  portal-silent  the same, never answering, as when the permission store
                 strips every flag
  screensaver    org.freedesktop.ScreenSaver: Inhibit / UnInhibit (cookies)
  kde SECONDS    KDE's PowerDevil's PolicyAgent: AddInhibition,
                 ReleaseInhibition, and ListInhibitions as (who, why) and
                 HasInhibition, which both show an inhibition only once
                 SECONDS have passed (5 in PowerDevil; a longer delay stands
                 for one that never applies it)
  hung           KDE's PolicyAgent name, whose AddInhibition never answers,
                 as a service that hangs
  hung-logind    logind's name, whose ListInhibitors and property reads
                 never answer (to be started on the system bus)
  hung-xfconf    Xfce's settings service, whose GetProperty never answers
  hung-quillon   the app's own name, whose ShowPanel never answers (a hung
                 first instance)

org.quillon.Test.Inhibitions() at /org/quillon/Test lists the inhibitions
taken as (flags, reason); the screen saver's are idle inhibitions (flags 8).
"""
import sys
import time

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

live = {}
cookies = iter(range(7, 1 << 31))


class Probe(dbus.service.Object):
    @dbus.service.method('org.quillon.Test', out_signature='a(us)')
    def Inhibitions(self):
        return dbus.Array([(dbus.UInt32(flags), reason) for flags, reason in live.values()], signature='(us)')


class Request(dbus.service.Object):
    def __init__(self, bus, path):
        super().__init__(bus, path)
        self.path = path

    @dbus.service.signal('org.freedesktop.portal.Request', signature='ua{sv}')
    def Response(self, response, results):
        pass

    @dbus.service.method('org.freedesktop.portal.Request')
    def Close(self):
        live.pop(self.path, None)
        self.remove_from_connection()


class Portal(dbus.service.Object):
    answer = 0  # the Response code; None: never answers

    @dbus.service.method('org.freedesktop.portal.Inhibit', in_signature='sua{sv}', out_signature='o',
                         sender_keyword='sender')
    def Inhibit(self, window, flags, options, sender):
        if flags == 0 or flags & ~15:
            raise dbus.exceptions.DBusException('invalid flags', name='org.freedesktop.portal.Error.InvalidArgument')
        token = str(options.get('handle_token', 'anonymous'))
        path = '/org/freedesktop/portal/desktop/request/%s/%s' % (sender[1:].replace('.', '_'), token)
        if path in live:
            raise dbus.exceptions.DBusException('token in use', name='org.freedesktop.portal.Error.Failed')
        request = Request(self.connection, path)
        if self.answer == 0:
            live[path] = (int(flags), str(options.get('reason', '')))
        if self.answer is not None:
            # After the reply has gone out, as the portal's frontend does.
            GLib.idle_add(lambda: request.Response(dbus.UInt32(self.answer), dbus.Dictionary({}, signature='sv'))
                          and False)
        return dbus.ObjectPath(path)


class ScreenSaver(dbus.service.Object):
    @dbus.service.method('org.freedesktop.ScreenSaver', in_signature='ss', out_signature='u')
    def Inhibit(self, application, reason):
        cookie = next(cookies)
        live[cookie] = (8, str(reason))
        return dbus.UInt32(cookie)

    @dbus.service.method('org.freedesktop.ScreenSaver', in_signature='u')
    def UnInhibit(self, cookie):
        live.pop(int(cookie), None)


class PolicyAgent(dbus.service.Object):
    IFACE = 'org.kde.Solid.PowerManagement.PolicyAgent'
    applied_at = {}  # cookie: (when it shows, who)

    @dbus.service.method(IFACE, in_signature='uss', out_signature='u')
    def AddInhibition(self, types, who, why):
        cookie = next(cookies)
        live[cookie] = (int(types), str(why))
        self.applied_at[cookie] = (time.monotonic() + float(sys.argv[2]), str(who))
        return dbus.UInt32(cookie)

    @dbus.service.method(IFACE, in_signature='u')
    def ReleaseInhibition(self, cookie):
        live.pop(int(cookie), None)
        self.applied_at.pop(int(cookie), None)

    def applied(self):
        now = time.monotonic()
        return [(cookie, who) for cookie, (since, who) in self.applied_at.items() if since <= now]

    @dbus.service.method(IFACE, out_signature='a(ss)')
    def ListInhibitions(self):
        return dbus.Array([(who, live[cookie][1]) for cookie, who in self.applied()], signature='(ss)')

    @dbus.service.method(IFACE, in_signature='u', out_signature='b')
    def HasInhibition(self, types):
        return any(live[cookie][0] & types for cookie, _ in self.applied())


class HungPolicyAgent(dbus.service.Object):
    @dbus.service.method('org.kde.Solid.PowerManagement.PolicyAgent', in_signature='uss', out_signature='u',
                         async_callbacks=('reply', 'error'))
    def AddInhibition(self, types, who, why, reply, error):
        pass  # never answers


class HungLogind(dbus.service.Object):
    @dbus.service.method('org.freedesktop.login1.Manager', out_signature='a(ssssuu)',
                         async_callbacks=('reply', 'error'))
    def ListInhibitors(self, reply, error):
        pass  # never answers

    @dbus.service.method('org.freedesktop.DBus.Properties', in_signature='ss', out_signature='v',
                         async_callbacks=('reply', 'error'))
    def Get(self, interface, prop, reply, error):
        pass


class HungXfconf(dbus.service.Object):
    @dbus.service.method('org.xfce.Xfconf', in_signature='ss', out_signature='v', async_callbacks=('reply', 'error'))
    def GetProperty(self, channel, prop, reply, error):
        pass  # never answers


class HungQuillon(dbus.service.Object):
    @dbus.service.method('org.quillon.Quillon', async_callbacks=('reply', 'error'))
    def ShowPanel(self, reply, error):
        pass  # never answers


class SilentPortal(Portal):
    answer = None


SERVICES = {
    'portal': ('org.freedesktop.portal.Desktop', '/org/freedesktop/portal/desktop', Portal),
    'portal-silent': ('org.freedesktop.portal.Desktop', '/org/freedesktop/portal/desktop', SilentPortal),
    'screensaver': ('org.freedesktop.ScreenSaver', '/org/freedesktop/ScreenSaver', ScreenSaver),
    'kde': ('org.kde.Solid.PowerManagement.PolicyAgent', '/org/kde/Solid/PowerManagement/PolicyAgent', PolicyAgent),
    'hung': ('org.kde.Solid.PowerManagement.PolicyAgent', '/org/kde/Solid/PowerManagement/PolicyAgent',
             HungPolicyAgent),
    'hung-logind': ('org.freedesktop.login1', '/org/freedesktop/login1', HungLogind),
    'hung-xfconf': ('org.xfce.Xfconf', '/org/xfce/Xfconf', HungXfconf),
    'hung-quillon': ('org.quillon.Quillon', '/org/quillon/Quillon', HungQuillon),
}

if __name__ == '__main__':
    name, path, service = SERVICES[sys.argv[1]]
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    keep = [service(bus, path), Probe(bus, '/org/quillon/Test')]
    # Claimed last, so that everything is in place once the name shows.
    bus_name = dbus.service.BusName(name, bus)
    GLib.MainLoop().run()
