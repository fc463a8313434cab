"""What tests of the access of a disabled account share: alice, and one daemon at a time."""

import os

import listing
import namespace
import waiting
from clients import ssh
from clients.dialogue import Dialogue
from clients.ftp import Ftp
from clients.smb import Smb
from clients.telnet import LoginPrompt
from service_test import ServiceTest, add_users

# Account rules that let everybody pass, beside the usual password check.
OPEN_RULES = "@include common-auth\naccount required pam_permit.so\nsession required pam_permit.so\n"
REFUSED, LET_IN, UNKNOWN = "refused", "let in", "unknown"
IS_DEBIAN_13 = 'VERSION_ID="13"' in namespace.read("/etc/os-release")
# Debian 13's package has no check of the expiry.
OF_PROFTPDS_OWN_CHECK = LET_IN if IS_DEBIAN_13 else REFUSED


def said_of(service, done):
    """What currentconn's output says about a service; it is silent about those that refuse."""
    for line in done.stdout.splitlines():
        if f"{service} may still let alice in: " in line:
            return UNKNOWN
        if line.startswith((f"{service} still lets alice in: ", f"{service} will still let alice in: ")):
            return LET_IN
    return REFUSED


def text_of(lines):
    return "".join(f"{line}\n" for line in lines)


class AccessTest(ServiceTest):
    """One daemon a test; alice can log in before she is disabled."""

    def setUp(self):
        self.addCleanup(namespace.run, "chage", "--expiredate", "-1", "alice")

    def serve(self, daemon):
        """Starts a daemon for one test."""
        daemon.start()
        self.addCleanup(daemon.stop)

    def serve_edited(self, server, path, edit, **options):
        """Starts a daemon whose configuration file is what `edit` makes of its usual text."""
        class Configured(server):
            def configure(self):
                super().configure()
                namespace.write(path, edit(namespace.read(path)))
        self.addCleanup(namespace.run, "rm", "--force", path)  # the next test's reports are about it, too
        self.serve(Configured(**options))

    def rules(self, service, text):
        """Replaces the file of a PAM service for one test."""
        path = f"/etc/pam.d/{service}"
        before = namespace.read(path) if os.path.exists(path) else None
        namespace.write(path, text)
        self.addCleanup(os.unlink, path) if before is None else self.addCleanup(namespace.write, path, before)

    def assertSaid(self, said, service, gets_in, real=None):
        """Disables alice: what is said of the service before and after, and what is so (`real`, as said if None)."""
        self.assertTrue(gets_in(), f"{service} refuses alice before she is disabled")
        foreseen = listing.run("disable", "--dry-run", "alice")
        self.assertEqual(0, foreseen.returncode, foreseen.stderr)
        self.assertEqual(said, said_of(service, foreseen), foreseen.stdout + foreseen.stderr)
        done = listing.run("disable", "--yes", "alice")
        self.assertEqual(said, said_of(service, done), done.stdout + done.stderr)
        self.assertEqual(LET_IN if gets_in() else REFUSED, real or said)
        self.assertEqual(1 if said == LET_IN else 0, done.returncode, done.stdout + done.stderr)
        self.assertEqual(said == LET_IN, "a disabled account can still log in" in done.stderr, done.stderr)

    def connects(self, make, *arguments):
        """Whether a client gets through its login."""
        try:
            make(*arguments).close()
        except Exception:  # each client has its own way to say that it was refused
            return False
        return True

    def by_ssh(self):
        return self.connects(ssh.Shell, "alice", "10.20.0.2")

    def by_ftp(self):
        return self.connects(Ftp, "alice", "10.20.0.2")

    def by_other_ftp(self):
        return self.connects(lambda: Ftp("alice", "10.20.0.2", port=2121))

    def by_smb(self):
        return self.connects(Smb, "alice", "10.20.0.2", "media")

    def by_prompt(self, *prompt):
        """Whether login takes name and password and starts the shell."""
        client = Dialogue(list(prompt)) if prompt else LoginPrompt("10.20.0.2")
        try:
            if prompt:
                client.expect("login: ")
            client.send("alice")
            client.expect("Password: ")
            client.send(namespace.PASSWORD)
            waiting.until("an answer", lambda: client.has_ended() or "expired" in client.output
                          or "$ " in client.output)
            return "$ " in client.output
        finally:
            client.close()


def add_alice():
    """Makes the account of a test file."""
    add_users("alice")
    ssh.allow("alice")
