#!/usr/bin/python3
"""A logind session for desktop services under test, on private buses, as a
display manager opens one through pam_systemd. logind is the real one; what
it asks of systemd (PID 1, which a CI machine does not run) is answered by a
stand-in. Three roles, chosen by the first argument:

  systemd CGROUP
      Stand-in for systemd's manager on DBUS_SYSTEM_BUS_ADDRESS: each unit
      logind starts (the session's scope, the user's services) is a job that
      ends done at once (JobRemoved); a scope's processes move into its cgroup
      below CGROUP, named after its slices (user.slice/user-0.slice/
      session-c1.scope), as systemd places them.
  enter CGROUP DEV PROGRAM ARGS...
      Runs PROGRAM (logind) in CGROUP, in a cgroup namespace rooted there
      (so that it reads the cgroups above as its own hierarchy), with the
      cgroup2 file system of that namespace on /sys/fs/cgroup and /dev
      replaced by the folder DEV, which has no virtual terminals: the session
      then needs none and no console of the machine is touched.
  session PROGRAM ARGS...
      Opens a graphical session of the current user on seat0 with this
      process as its leader, keeps it open for as long as PROGRAM runs, and
      becomes PROGRAM.
"""
import ctypes
import os
import stat
import subprocess
import sys

CLONE_NEWNS = 0x00020000
CLONE_NEWCGROUP = 0x02000000


def systemd(cgroup):
    import dbus
    import dbus.mainloop.glib
    import dbus.service
    from gi.repository import GLib

    manager_iface = 'org.freedesktop.systemd1.Manager'
    jobs = iter(range(1, 1 << 31))

    class Units(dbus.service.FallbackObject):
        @dbus.service.method('org.freedesktop.systemd1.Scope')
        def Abandon(self):
            pass

    class Manager(dbus.service.Object):
        def job(self, unit):
            number = next(jobs)
            path = dbus.ObjectPath('/org/freedesktop/systemd1/job/%d' % number)
            # After the reply, as systemd ends a job it has queued.
            GLib.idle_add(lambda: self.JobRemoved(dbus.UInt32(number), path, unit, 'done') and False)
            return path

        @dbus.service.method(manager_iface)
        def Subscribe(self):
            pass

        @dbus.service.method(manager_iface, in_signature='ssa(sv)a(sa(sv))', out_signature='o')
        def StartTransientUnit(self, name, mode, properties, aux):
            settings = {str(key): value for key, value in properties}
            if 'PIDs' in settings:
                parts = str(settings.get('Slice', '-.slice'))[:-len('.slice')].split('-')
                slices = ['-'.join(parts[:i + 1]) + '.slice' for i in range(len(parts)) if parts[i]]
                path = os.path.join(cgroup, *slices, str(name))
                os.makedirs(path, exist_ok=True)
                for pid in settings['PIDs']:
                    with open(os.path.join(path, 'cgroup.procs'), 'w') as procs:
                        procs.write(str(int(pid)))
            return self.job(name)

        @dbus.service.method(manager_iface, in_signature='ss', out_signature='o')
        def StartUnit(self, name, mode):
            return self.job(name)

        @dbus.service.method(manager_iface, in_signature='ss', out_signature='o')
        def StopUnit(self, name, mode):
            return self.job(name)

        @dbus.service.method(manager_iface, in_signature='ssi')
        def KillUnit(self, name, who, signal):
            pass

        @dbus.service.signal(manager_iface, signature='uoss')
        def JobRemoved(self, number, path, unit, result):
            pass

    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    bus = dbus.bus.BusConnection(os.environ['DBUS_SYSTEM_BUS_ADDRESS'])
    keep = [Units(bus, '/org/freedesktop/systemd1/unit'), Manager(bus, '/org/freedesktop/systemd1'),
            dbus.service.BusName('org.freedesktop.systemd1', bus)]
    GLib.MainLoop().run()
    del keep


def enter(cgroup, dev, program):
    with open(os.path.join(cgroup, 'cgroup.procs'), 'w') as procs:
        procs.write(str(os.getpid()))
    if ctypes.CDLL(None, use_errno=True).unshare(CLONE_NEWCGROUP | CLONE_NEWNS) != 0:
        sys.exit('unshare: ' + os.strerror(ctypes.get_errno()))
    for name, minor in (('null', 3), ('zero', 5), ('urandom', 9)):
        node = os.path.join(dev, name)
        if not os.path.exists(node):
            os.mknod(node, stat.S_IFCHR | 0o666, os.makedev(1, minor))
    for mount in (['--make-rprivate', '/'], ['--bind', dev, '/dev'], ['-t', 'cgroup2', 'none', '/sys/fs/cgroup']):
        subprocess.run(['mount'] + mount, check=True)
    os.execvp(program[0], program)


def session(program):
    import dbus
    bus = dbus.bus.BusConnection(os.environ['DBUS_SYSTEM_BUS_ADDRESS'])
    manager = dbus.Interface(bus.get_object('org.freedesktop.login1', '/org/freedesktop/login1'),
                             'org.freedesktop.login1.Manager')
    # uid, leader, service, type, class, desktop, seat, vtnr, tty, display, remote, remote user, host, properties
    reply = manager.CreateSession(dbus.UInt32(os.getuid()), dbus.UInt32(os.getpid()), 'quillon-test', 'x11', 'user',
                                  'KDE', 'seat0', dbus.UInt32(0), '', os.environ.get('DISPLAY', ''), False, '', '',
                                  dbus.Array([], signature='(sv)'), timeout=10)
    # The session lasts while its FIFO is open: handed on to the program.
    os.set_inheritable(reply[3].take(), True)
    bus.close()
    os.execvp(program[0], program)


if __name__ == '__main__':
    role = sys.argv[1]
    if role == 'systemd':
        systemd(sys.argv[2])
    elif role == 'enter':
        enter(sys.argv[2], sys.argv[3], sys.argv[4:])
    else:
        session(sys.argv[2:])
