#!/usr/bin/python3
"""A stand-in for xdg-desktop-portal's org.freedesktop.portal.GlobalShortcuts
(version 1) on a private bus, as org.freedesktop.portal.Desktop. The first
argument chooses how it behaves:

  portal           CreateSession and BindShortcuts answer Response 0 right
                   after replying, as a working backend does
  portal-refusing  BindShortcuts answers Response 2 (the backend failed)
  portal-silent    BindShortcuts never answers (a dialog nobody confirms)
  portal-partial   BindShortcuts binds only the first shortcut asked for
  no-interface     the portal service without the GlobalShortcuts interface
                   (its "version" property is unknown), as older portals

org.quillon.Test at /org/quillon/Test: Sessions() lists the open sessions
as JSON, each an object of the ids and preferred triggers bound to it; Activate(id) emits
Activated for that id on every open session, as a press would.
"""
import json
import sys

import dbus
import dbus.mainloop.glib
import dbus.service
from gi.repository import GLib

IFACE = 'org.freedesktop.portal.GlobalShortcuts'
PATH = '/org/freedesktop/portal/desktop'
sessions = {}  # path -> {id: preferred_trigger}
portal = None


def later(fn):
    # After the method's reply has gone out, as the portal's frontend does.
    GLib.idle_add(lambda: fn() and False)


class Request(dbus.service.Object):
    @dbus.service.signal('org.freedesktop.portal.Request', signature='ua{sv}')
    def Response(self, response, results):
        pass

    @dbus.service.method('org.freedesktop.portal.Request')
    def Close(self):
        self.remove_from_connection()


class Session(dbus.service.Object):
    def __init__(self, bus, path):
        super().__init__(bus, path)
        self.path = path

    @dbus.service.method('org.freedesktop.portal.Session')
    def Close(self):
        sessions.pop(self.path, None)
        self.remove_from_connection()


def sender_part(sender):
    return sender[1:].replace('.', '_')


class Probe(dbus.service.Object):
    @dbus.service.method('org.quillon.Test', out_signature='s')
    def Sessions(self):
        return json.dumps(list(sessions.values()))

    @dbus.service.method('org.quillon.Test', in_signature='s')
    def Activate(self, shortcut_id):
        for path, bound in list(sessions.items()):
            if shortcut_id in bound:
                portal.Activated(dbus.ObjectPath(path), shortcut_id, dbus.UInt64(1234),
                                 dbus.Dictionary({}, signature='sv'))


class Portal(dbus.service.Object):
    bind_answer = 0  # None: never answers
    partial = False
    has_interface = True

    @dbus.service.method('org.freedesktop.DBus.Properties', in_signature='ss', out_signature='v')
    def Get(self, interface, name):
        if interface == IFACE and name == 'version' and self.has_interface:
            return dbus.UInt32(1, variant_level=1)
        raise dbus.exceptions.DBusException('no such property', name='org.freedesktop.DBus.Error.InvalidArgs')

    def request(self, sender, options):
        token = str(options.get('handle_token', 'anonymous'))
        return Request(self.connection, '/org/freedesktop/portal/desktop/request/%s/%s' % (sender_part(sender), token))

    @dbus.service.method(IFACE, in_signature='a{sv}', out_signature='o', sender_keyword='sender')
    def CreateSession(self, options, sender):
        if not self.has_interface:
            raise dbus.exceptions.DBusException('unknown method', name='org.freedesktop.DBus.Error.UnknownMethod')
        request = self.request(sender, options)
        path = '/org/freedesktop/portal/desktop/session/%s/%s' % (
            sender_part(sender), str(options.get('session_handle_token', 'anonymous')))
        session = Session(self.connection, path)
        sessions[path] = {}
        later(lambda: request.Response(dbus.UInt32(0), dbus.Dictionary({'session_handle': path}, signature='sv')))
        return dbus.ObjectPath(request.__dbus_object_path__)

    @dbus.service.method(IFACE, in_signature='oa(sa{sv})sa{sv}', out_signature='o', sender_keyword='sender')
    def BindShortcuts(self, session, shortcuts, parent_window, options, sender):
        if str(session) not in sessions:
            raise dbus.exceptions.DBusException('no session', name='org.freedesktop.portal.Error.NotFound')
        request = self.request(sender, options)
        if self.partial:
            shortcuts = shortcuts[:1]
        results = {}
        if self.bind_answer == 0:
            sessions[str(session)] = {str(i): str(p.get('preferred_trigger', '')) for i, p in shortcuts}
            results['shortcuts'] = dbus.Array(
                [(i, dbus.Dictionary({'description': p.get('description', ''),
                                      'trigger_description': p.get('preferred_trigger', '')}, signature='sv'))
                 for i, p in shortcuts], signature='(sa{sv})')
        if self.bind_answer is not None:
            answer = self.bind_answer
            later(lambda: request.Response(dbus.UInt32(answer), dbus.Dictionary(results, signature='sv')))
        return dbus.ObjectPath(request.__dbus_object_path__)

    @dbus.service.signal(IFACE, signature='osta{sv}')
    def Activated(self, session_handle, shortcut_id, timestamp, options):
        pass


BEHAVIOURS = {'portal': {}, 'portal-refusing': {'bind_answer': 2}, 'portal-silent': {'bind_answer': None},
              'no-interface': {'has_interface': False}, 'portal-partial': {'partial': True}}

if __name__ == '__main__':
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.SessionBus()
    portal = Portal(bus, PATH)
    portal.__dict__.update(BEHAVIOURS[sys.argv[1]])
    keep = [portal, Probe(bus, '/org/quillon/Test')]
    # Claimed last, so that everything is in place once the name shows.
    bus_name = dbus.service.BusName('org.freedesktop.portal.Desktop', bus)
    GLib.MainLoop().run()
