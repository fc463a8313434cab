"""Which accounts may be disabled, and undoing it."""

import listing
import namespace
from service_test import ServiceTest, add_users, main

_DIRECTORY = "/var/lib/extrausers"


def setUpModule():
    add_users("alice", "bob", "carol")


def shadow_line(name):
    """An account's line in the shadow file."""
    return next(line for line in namespace.read("/etc/shadow").splitlines() if line.startswith(f"{name}:"))


class AccountTest(ServiceTest):
    """Each test begins with three accounts that nobody has disabled."""

    def setUp(self):
        for name in ("alice", "bob", "carol"):
            namespace.run("chage", "--expiredate", "-1", name)

    def disable(self, *names, status=0):
        done = listing.run("disable", "--yes", *names)
        self.assertEqual(status, done.returncode, done.stdout + done.stderr)
        return done


class DirectoryTest(AccountTest):
    """The administrators' group comes from a directory, a second source of the name service."""

    def setUp(self):
        super().setUp()
        before = namespace.read("/etc/nsswitch.conf")
        self.addCleanup(namespace.write, "/etc/nsswitch.conf", before)
        namespace.write("/etc/nsswitch.conf", before.replace(": files", ": files extrausers"))
        self.directory("alice,bob")
        self.addCleanup(namespace.run, "gpasswd", "--members", "", "sudo")

    def directory(self, administrators, shadow=""):
        """dora is an account of the directory alone."""
        namespace.write(f"{_DIRECTORY}/passwd", "dora:x:7001:7001::/home/dora:/bin/bash\n")
        namespace.write(f"{_DIRECTORY}/group", f"administrators:x:7000:{administrators}\ndora:x:7001:\n")
        namespace.write(f"{_DIRECTORY}/shadow", shadow, 0o640)

    def test_its_last_administrators_are_kept(self):
        before = namespace.read("/etc/shadow")
        done = self.disable("alice", "bob", status=4)
        self.assertIn("administrator", done.stderr)
        self.assertEqual(before, namespace.read("/etc/shadow"))
        self.disable("alice")
        self.disable("bob", status=4)

    def test_a_member_of_a_local_group_that_is_not_asked_is_nobodys_last_administrator(self):
        namespace.run("gpasswd", "--members", "carol", "sudo")
        self.disable("carol")

    def test_an_administrator_of_the_directory_who_can_log_in_counts(self):
        self.directory("alice,dora", "dora:$y$j9T$x$y:19000:0:99999:7:::\n")
        self.disable("alice")

    def test_an_administrator_of_the_directory_who_is_expired_does_not_count(self):
        self.directory("alice,dora", "dora:$y$j9T$x$y:19000:0:99999:7::1:\n")
        self.disable("alice", status=4)

    def test_an_account_of_the_directory_is_not_disabled(self):
        self.directory("alice", "dora:$y$j9T$x$y:19000:0:99999:7:::\n")
        self.assertIn("no local account", self.disable("dora", status=1).stderr)


if __name__ == "__main__":
    main()
