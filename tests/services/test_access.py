"""What is said about who a disabled account still gets in with, held against the real daemons."""

import ftplib
import os
import pwd
import signal
import ssl
import subprocess

import listing
import namespace
import processes
import waiting
from clients import ssh
from clients.dialogue import Dialogue
from clients.ftp import Ftp
from clients.smb import Smb
from clients.telnet import LoginPrompt
from daemons.openssh import OpenSsh
from daemons.proftpd import Proftpd
from daemons.pureftpd import PureFtpd
from daemons.samba import Samba
from daemons.telnetd import Telnetd
from daemons.vsftpd import Vsftpd
from service_test import ServiceTest, add_users, main

# Account rules that let everybody pass, beside the usual password check.
OPEN_RULES = "@include common-auth\naccount required pam_permit.so\nsession required pam_permit.so\n"
REFUSED, LET_IN, UNKNOWN = "refused", "let in", "unknown"
IS_DEBIAN_13 = 'VERSION_ID="13"' in namespace.read("/etc/os-release")
# Debian 13's package has no check of the expiry.
OF_PROFTPDS_OWN_CHECK = LET_IN if IS_DEBIAN_13 else REFUSED


def ending_command(user):
    """The printed command that ends what the account has left running."""
    return f"pkill -KILL -U {pwd.getpwnam(user).pw_uid} --ns 1 --nslist pid"


def setUpModule():
    add_users("alice")
    ssh.allow("alice")


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


class OpenSshTest(AccessTest):

    def configure(self, *lines):
        """Starts sshd with lines that count before its usual ones."""
        self.serve_edited(OpenSsh, "/etc/ssh/test_22_config", lambda text: text_of(lines) + text)

    def test_with_pam(self):
        self.configure("UsePAM yes")
        self.assertSaid(REFUSED, "SSH", self.by_ssh)

    def test_without_pam(self):
        self.configure("UsePAM no")
        self.assertSaid(REFUSED, "SSH", self.by_ssh)

    def test_with_rules_that_let_pass(self):
        self.rules("sshd", OPEN_RULES)
        self.configure("UsePAM yes")
        self.assertSaid(LET_IN, "SSH", self.by_ssh)

    def test_without_pam_its_rules_do_not_matter(self):
        self.rules("sshd", OPEN_RULES)
        self.configure("UsePAM no")
        self.assertSaid(REFUSED, "SSH", self.by_ssh)


class VsftpdTest(AccessTest):

    def configure(self, *lines, port=21, **options):
        class OnPort(Vsftpd):
            ports = (port,)
        self.serve_edited(OnPort, "/etc/vsftpd-test.conf", lambda text: text + text_of(lines), **options)

    def test_as_shipped(self):
        self.configure()
        self.assertSaid(REFUSED, "vsftpd", self.by_ftp)

    def test_with_rules_that_let_pass(self):
        self.rules("ftp-open", OPEN_RULES)
        self.configure("pam_service_name=ftp-open")
        self.assertSaid(LET_IN, "vsftpd", self.by_ftp)

    def test_with_a_service_without_a_file(self):
        self.configure("pam_service_name=no-such-service")
        self.assertSaid(REFUSED, "vsftpd", self.by_ftp)

    def test_with_rules_that_a_module_decides(self):
        self.rules("ftp-open", "@include common-auth\n"
                               "account sufficient pam_succeed_if.so user = alice quiet\n@include common-account\n")
        self.configure("pam_service_name=ftp-open")
        self.assertSaid(UNKNOWN, "vsftpd", self.by_ftp, LET_IN)

    def test_with_titles_its_file_is_not_known(self):
        self.configure(titles=True)
        self.assertSaid(UNKNOWN, "vsftpd", self.by_ftp, REFUSED)

    def test_with_titles_one_of_two_may_have_another_file(self):
        class Usual(Vsftpd):
            def command(self):
                return ["/usr/sbin/vsftpd"]
        self.rules("ftp-open", OPEN_RULES)
        self.serve_edited(Usual, "/etc/vsftpd-test.conf", self.make_usual, titles=True)
        self.assertSaid(REFUSED, "vsftpd", self.by_ftp)
        namespace.run("chage", "--expiredate", "-1", "alice")
        self.configure("pam_service_name=ftp-open", "listen_port=2121", titles=True, port=2121)
        self.assertSaid(UNKNOWN, "vsftpd", self.by_other_ftp, LET_IN)

    def test_with_titles_one_on_another_port_has_another_file(self):
        self.rules("ftp-open", OPEN_RULES)
        self.make_usual("local_enable=YES\nsetproctitle_enable=YES\n")
        self.configure("pam_service_name=ftp-open", "listen_port=2121", titles=True, port=2121)
        self.assertSaid(UNKNOWN, "vsftpd", self.by_other_ftp, LET_IN)

    def make_usual(self, text):
        """Makes `text` that of the file that vsftpd reads by default, for one test."""
        before = namespace.read("/etc/vsftpd.conf")
        self.addCleanup(namespace.write, "/etc/vsftpd.conf", before)
        namespace.write("/etc/vsftpd.conf", text)
        return text


class ProftpdTest(AccessTest):

    def configure(self, *lines):
        self.serve_edited(Proftpd, "/etc/proftpd/proftpd.conf",
                          lambda text: text.replace("AuthOrder mod_auth_unix.c\n", "") + text_of(lines))

    def test_with_the_systems_accounts(self):
        self.configure("AuthOrder mod_auth_unix.c")
        self.assertSaid(OF_PROFTPDS_OWN_CHECK, "ProFTPD", self.by_ftp)

    def test_with_pam(self):
        self.configure("AuthOrder mod_auth_pam.c* mod_auth_unix.c")
        self.assertSaid(REFUSED, "ProFTPD", self.by_ftp)

    def test_with_pam_that_has_not_the_last_word(self):
        self.configure("AuthOrder mod_auth_pam.c mod_auth_unix.c")
        self.assertSaid(OF_PROFTPDS_OWN_CHECK, "ProFTPD", self.by_ftp)

    def test_with_pam_as_the_second(self):
        self.configure("AuthOrder mod_auth_unix.c mod_auth_pam.c*")
        self.assertSaid(REFUSED, "ProFTPD", self.by_ftp)

    def test_with_pam_as_the_second_whose_rules_let_pass(self):
        self.rules("proftpd", OPEN_RULES)
        self.configure("AuthOrder mod_auth_unix.c mod_auth_pam.c")
        self.assertSaid(LET_IN, "ProFTPD", self.by_ftp)

    def test_with_rules_that_let_pass(self):
        self.rules("proftpd", OPEN_RULES)
        self.configure("AuthOrder mod_auth_pam.c* mod_auth_unix.c")
        self.assertSaid(LET_IN, "ProFTPD", self.by_ftp)

    def test_with_another_service(self):
        self.rules("ftp-open", OPEN_RULES)
        self.configure("AuthOrder mod_auth_pam.c* mod_auth_unix.c", "AuthPAMConfig ftp-open")
        self.assertSaid(LET_IN, "ProFTPD", self.by_ftp)

    def test_as_shipped(self):
        self.configure()
        self.assertSaid(OF_PROFTPDS_OWN_CHECK, "ProFTPD", self.by_ftp)

    def test_as_shipped_with_rules_that_let_pass(self):
        self.rules("proftpd", OPEN_RULES)
        self.configure()
        self.assertSaid(LET_IN, "ProFTPD", self.by_ftp)

    def test_with_users_of_its_own(self):
        own = next(line for line in namespace.read("/etc/shadow").splitlines() if line.startswith("alice:"))
        account = next(line for line in namespace.read("/etc/passwd").splitlines() if line.startswith("alice:"))
        namespace.write("/etc/proftpd/users", account.replace(":x:", f":{own.split(':')[1]}:") + "\n", 0o600)
        self.configure("AuthOrder mod_auth_file.c", "AuthUserFile /etc/proftpd/users")
        self.assertSaid(UNKNOWN, "ProFTPD", self.by_ftp, LET_IN)

    def test_with_another_file(self):
        """Of two servers, one may have another file than the usual one."""
        class Other(Proftpd):
            ports = (2121,)

            def configure(self):
                usual = namespace.read("/etc/proftpd/proftpd.conf").replace("/run/proftpd.", "/run/other-proftpd.")
                namespace.write("/etc/proftpd/other.conf", usual.replace("Port 21\n", "Port 2121\n")
                                + "AuthPAMConfig ftp-open\n")

            def command(self):
                return [*super().command()[:-1], "/etc/proftpd/other.conf"]
        self.rules("ftp-open", OPEN_RULES)
        self.configure("AuthOrder mod_auth_pam.c* mod_auth_unix.c")
        self.serve(Other())
        self.assertSaid(UNKNOWN, "ProFTPD", self.by_other_ftp, LET_IN)


class ProftpdKeysTest(AccessTest):
    """Logins without a password, where PAM has the last word about those with one."""

    def configure(self, *lines):
        self.serve_edited(Proftpd, "/etc/proftpd/proftpd.conf", lambda text: text + text_of(lines),
                          auth_order="mod_auth_pam.c* mod_auth_unix.c")

    def by_key(self):
        """Whether sftp logs in with alice's key."""
        done = subprocess.run(["sftp", *ssh.OPTIONS, "-o", "BatchMode=yes", "-i", ssh.KEY, "-P", "21", "-b", "-",
                               "alice@10.20.0.2"], input="pwd\n", capture_output=True, text=True)
        return done.returncode == 0

    def by_certificate(self):
        """Whether the server takes alice's name for a login, thanks to the certificate."""
        context = ssl.create_default_context()
        context.check_hostname = False
        context.verify_mode = ssl.CERT_NONE
        context.load_cert_chain("/srv/alice.pem")
        with ftplib.FTP_TLS(timeout=20, context=context) as client:
            client.connect("10.20.0.2")
            client.auth()
            return client.sendcmd("USER alice").startswith("232")

    def certify(self, *lines):
        namespace.run("openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-keyout", "/srv/alice.pem",
                      "-out", "/srv/alice.crt", "-subj", "/CN=alice", "-days", "2")
        namespace.write("/srv/alice.pem", namespace.read("/srv/alice.pem") + namespace.read("/srv/alice.crt"))
        self.configure("LoadModule mod_tls.c", "TLSEngine on", "TLSVerifyClient on",
                       "TLSCACertificateFile /srv/alice.crt", "TLSRSACertificateFile /srv/alice.pem", *lines)

    def test_with_ssh_keys(self):
        namespace.run("sh", "-c", "yes | ssh-keygen -q -t rsa -m PEM -N '' -f /srv/host_key")
        namespace.write("/srv/alice_keys", namespace.run("ssh-keygen", "-e", "-f", f"{ssh.KEY}.pub"))
        self.configure("LoadModule mod_sftp.c", "SFTPEngine on", "SFTPHostKey /srv/host_key",
                       "SFTPAuthorizedUserKeys file:/srv/%u_keys")
        said, real = (UNKNOWN, LET_IN) if IS_DEBIAN_13 else (REFUSED, REFUSED)
        self.assertSaid(said, "ProFTPD", self.by_key, real)

    def test_with_certificates(self):
        self.certify("TLSUserName CommonName")
        self.assertSaid(UNKNOWN, "ProFTPD", self.by_certificate, LET_IN)

    def test_with_certificates_in_the_users_folders(self):
        self.certify("TLSOptions AllowDotLogin")
        namespace.run("install", "--owner=alice", "/srv/alice.crt", "/home/alice/.tlslogin")
        self.assertSaid(UNKNOWN, "ProFTPD", self.by_certificate, LET_IN)


class PureFtpdTest(AccessTest):

    def configure(self, *sources):
        """Starts the server through Debian's own wrapper, with the sources in this order."""
        for folder in ("auth", "conf"):
            os.makedirs(f"/etc/pure-ftpd/{folder}", exist_ok=True)
            for name in os.listdir(f"/etc/pure-ftpd/{folder}"):
                os.unlink(f"/etc/pure-ftpd/{folder}/{name}")
        for number, (name, value) in enumerate({"NoAnonymous": "yes", "MinUID": "1", "DontResolve": "yes",
                                                "IPV4Only": "yes", **dict(sources)}.items()):
            namespace.write(f"/etc/pure-ftpd/conf/{name}", f"{value}\n")
            if (name, value) in sources:
                os.symlink(f"../conf/{name}", f"/etc/pure-ftpd/auth/{number}{name}")

        class Wrapped(PureFtpd):
            def command(self):
                return ["/usr/sbin/pure-ftpd-wrapper"]
        os.makedirs("/run/pure-ftpd", exist_ok=True)
        self.serve(Wrapped())

    def test_with_the_systems_accounts(self):
        self.configure(("UnixAuthentication", "yes"))
        self.assertSaid(REFUSED, "Pure-FTPd", self.by_ftp)

    def test_with_pam(self):
        self.configure(("PAMAuthentication", "yes"))
        self.assertSaid(REFUSED, "Pure-FTPd", self.by_ftp)

    def test_with_rules_that_let_pass(self):
        self.rules("pure-ftpd", OPEN_RULES)
        self.configure(("PAMAuthentication", "yes"))
        self.assertSaid(LET_IN, "Pure-FTPd", self.by_ftp)

    def test_with_users_of_its_own(self):
        PureFtpd({"alice": "alice"}).configure()
        self.configure(("PureDB", "/etc/pure-ftpd.pdb"))
        self.assertSaid(UNKNOWN, "Pure-FTPd", self.by_ftp, LET_IN)


class AnonymousTest(AccessTest):
    """The account that serves the users who log in without one goes on serving them."""

    def setUp(self):
        super().setUp()
        os.makedirs("/srv/anonymous", exist_ok=True)

    def anonymously(self):
        return self.connects(Ftp, "anonymous", "10.20.0.2")

    def test_vsftpd(self):
        lines = text_of(["anonymous_enable=YES", "ftp_username=alice", "anon_root=/srv/anonymous"])
        self.serve_edited(Vsftpd, "/etc/vsftpd-test.conf", lambda text: text + lines)
        self.assertSaid(LET_IN, "vsftpd", self.anonymously)

    def test_vsftpd_without_a_line_about_them(self):
        lines = text_of(["ftp_username=alice", "anon_root=/srv/anonymous"])
        self.serve_edited(Vsftpd, "/etc/vsftpd-test.conf",
                          lambda text: text.replace("anonymous_enable=NO\n", "") + lines)
        self.assertSaid(LET_IN, "vsftpd", self.anonymously)

    def test_proftpd(self):
        section = text_of(["<Anonymous /srv/anonymous>", "User alice", "UserAlias anonymous alice", "</Anonymous>"])
        self.serve_edited(Proftpd, "/etc/proftpd/proftpd.conf", lambda text: text + section,
                          auth_order="mod_auth_pam.c* mod_auth_unix.c")
        self.assertSaid(LET_IN, "ProFTPD", self.anonymously)

    def test_pure_ftpd(self):
        class Anonymous(PureFtpd):
            def command(self):
                return [word for word in super().command() if word != "--noanonymous"]
        namespace.add_account("ftp")
        namespace.write("/etc/pure-ftpd/conf/NoAnonymous", "no\n")
        self.serve(Anonymous())
        self.assertTrue(self.anonymously())
        done = listing.run("disable", "--yes", "ftp")
        self.assertIn("Pure-FTPd still lets ftp in: ", done.stdout, done.stderr)
        self.assertEqual(1, done.returncode)
        self.assertTrue(self.anonymously())


class LoginTest(AccessTest):

    def test_telnet(self):
        self.serve(Telnetd())
        self.assertSaid(REFUSED, "Telnet", self.by_prompt)

    def test_telnet_with_rules_that_let_pass(self):
        for service in ("login", "remote"):
            self.rules(service, OPEN_RULES)
        self.serve(Telnetd())
        self.assertSaid(LET_IN, "Telnet", self.by_prompt)

    def test_telnet_with_rules_of_the_console_that_let_pass(self):
        self.rules("login", OPEN_RULES)
        self.serve(Telnetd())
        done = listing.run("disable", "--yes", "alice")
        # Debian 13's login has rules of their own for those who come from elsewhere.
        expected = REFUSED if IS_DEBIAN_13 else LET_IN
        self.assertEqual(expected, said_of("Telnet", done), done.stdout + done.stderr)
        self.assertEqual(expected, LET_IN if self.by_prompt() else REFUSED)
        self.assertEqual(LET_IN, said_of("the console", done), done.stdout + done.stderr)

    def test_the_console(self):
        self.assertSaid(REFUSED, "the console", lambda: self.by_prompt("/bin/login"))

    def test_the_console_with_rules_that_let_pass(self):
        self.rules("login", OPEN_RULES)
        self.assertSaid(LET_IN, "the console", lambda: self.by_prompt("/bin/login"))


class SambaTest(AccessTest):
    """Disabling an account disables its entry in the usual Samba; another one has entries of its own."""

    def configure(self, *lines):
        samba = Samba(lines)
        self.serve(samba)
        samba.add_user("alice")

    def configure_another(self, *lines, entry="alice"):
        class Another(Samba):
            configuration = "/srv/another.conf"
        namespace.write("/etc/samba/smb.conf", "[global]\n")
        another = Another(["passdb backend = tdbsam:/srv/another.tdb", *lines])
        self.serve(another)
        another.add_user(entry)

    def test_that_asks_pam(self):
        self.configure_another("obey pam restrictions = yes")
        self.assertSaid(REFUSED, "Samba", self.by_smb)

    def test_that_asks_pam_with_rules_that_let_pass(self):
        self.rules("samba", OPEN_RULES)
        self.configure_another("obey pam restrictions = yes")
        self.assertSaid(LET_IN, "Samba", self.by_smb)

    def test_that_asks_only_itself(self):
        # Samba finds the entry in whatever case it was given.
        self.configure_another("obey pam restrictions = no", entry="ALICE")
        self.assertSaid(LET_IN, "Samba", self.by_smb)
        again = listing.run("disable", "--yes", "alice").stdout
        command = again.split("disable it there with: ")[1].splitlines()[0]
        namespace.run(*command.split())
        self.assertEqual(REFUSED, said_of("Samba", listing.run("disable", "--yes", "alice")))
        self.assertFalse(self.by_smb())

    def test_with_its_entry_disabled(self):
        self.configure("obey pam restrictions = no")
        self.assertTrue(self.by_smb())
        namespace.run("smbpasswd", "-d", "alice")
        self.assertEqual(REFUSED, said_of("Samba", listing.run("disable", "--yes", "alice")))
        self.assertFalse(self.by_smb())

    def test_without_an_entry(self):
        self.configure("obey pam restrictions = no")
        namespace.run("smbpasswd", "-x", "alice")
        self.assertEqual(REFUSED, said_of("Samba", listing.run("disable", "--yes", "alice")))
        self.assertFalse(self.by_smb())


class SambaGuestTest(AccessTest):
    """Guests come in as the guest account, disabled or not."""

    def configure(self, *lines):
        samba = Samba(("obey pam restrictions = yes", "guest account = alice", *lines))
        self.serve(samba)
        return samba

    def by_name(self):
        return self.connects(Smb, "stranger", "10.20.0.2", "media")

    def without_name(self, share="media"):
        return self.connects(Smb, "", "10.20.0.2", share)

    def test_of_unknown_names(self):
        self.configure("map to guest = Bad User", "guest ok = yes")
        self.assertSaid(LET_IN, "Samba", self.by_name)

    def test_without_a_name(self):
        self.configure("map to guest = Never", "guest ok = yes", "restrict anonymous = 2")
        self.assertFalse(self.by_name())
        self.assertSaid(LET_IN, "Samba", self.without_name)

    def test_without_a_share(self):
        self.configure("map to guest = Never")
        self.assertFalse(self.without_name())
        self.assertSaid(LET_IN, "Samba", lambda: self.without_name("IPC$"))

    def test_that_are_refused(self):
        self.configure("map to guest = Bad User", "restrict anonymous = 2").add_user("alice")
        self.addCleanup(namespace.run, "smbpasswd", "-x", "alice")
        self.assertSaid(REFUSED, "Samba", self.by_smb)
        for share in ("media", "IPC$"):
            self.assertFalse(self.without_name(share))
        self.assertFalse(self.by_name())


class LeftRunningTest(AccessTest):

    def test_the_command_ends_those_of_an_account_whose_name_is_anothers_id(self):
        name = str(pwd.getpwnam("alice").pw_uid)
        namespace.add_account(name)
        self.addCleanup(namespace.run, "userdel", "--force", name)
        started = {}
        for user in ("alice", name):
            started[user] = subprocess.Popen(["sleep", "1000"], user=pwd.getpwnam(user).pw_uid, extra_groups=[])
            self.addCleanup(started[user].wait)
            self.addCleanup(started[user].kill)
            waiting.until("it to run", lambda user=user: processes.named("sleep").count(started[user].pid))
        lines = listing.run("disable", "--yes", name).stdout.splitlines()
        command, = (line.split(" with: ")[1] for line in lines if line.startswith(f"1 process of {name} still runs"))
        namespace.run(*command.split())
        self.assertEqual(-signal.SIGKILL, started[name].wait(60))
        self.assertIsNone(started["alice"].poll())

    def test_what_goes_on_is_counted_with_the_command_that_ends_it(self):
        self.serve(OpenSsh())
        shell = self.client(ssh.Shell, "alice", "10.20.0.2")
        shell.send("for i in 1 2 3; do setsid nohup sleep 1000 >/dev/null 2>&1 & done; sleep 1; echo sta''rted")
        shell.expect("started")
        namespace.write("/var/spool/cron/crontabs/alice", "0 4 * * * true\n", 0o600)
        self.addCleanup(os.unlink, "/var/spool/cron/crontabs/alice")
        lines = listing.run("disable", "--yes", "alice").stdout.splitlines()
        command = ending_command("alice")
        self.assertIn(f"3 processes of alice still run; end them with: {command}", lines)
        self.assertIn("alice has a crontab; remove it with: crontab -r -u alice", lines)
        # Her shell may still be ending, or wait for somebody to reap it.
        ours = ["pgrep", "-U", "alice", "-x", "sleep"]
        self.assertEqual(3, len(namespace.run(*ours).split()), "nothing ends them by itself")
        namespace.run(*command.split())
        waiting.until("them to end", lambda: subprocess.run(ours).returncode == 1)
        again = listing.run("disable", "--yes", "alice").stdout
        self.assertNotIn("still run", again)

    def test_what_a_container_runs_under_the_same_number_is_neither_counted_nor_ended(self):
        user = pwd.getpwnam("alice").pw_uid
        ours = subprocess.Popen(["sleep", "1000"], user=user)
        theirs = subprocess.Popen(["unshare", "--pid", "--fork", "--kill-child", "setpriv", f"--reuid={user}",
                                   "--clear-groups", "sleep", "1000"])
        for process in (ours, theirs):
            self.addCleanup(process.wait)
            self.addCleanup(process.kill)
        # A change of the user takes the container's process away from what ends it with its parent.
        self.addCleanup(subprocess.run, ["pkill", "-KILL", "-U", "alice", "-x", "sleep"])
        running = ["pgrep", "-c", "-U", "alice", "-x", "sleep"]
        waiting.until("both to run", lambda: subprocess.run(running, capture_output=True).stdout == b"2\n")
        lines = listing.run("disable", "--yes", "alice").stdout.splitlines()
        self.assertIn(f"1 process of alice still runs; end it with: {ending_command('alice')}", lines)
        namespace.run(*ending_command("alice").split())
        self.assertEqual(-signal.SIGKILL, ours.wait(60))
        self.assertEqual("1", namespace.run(*running).strip())
        self.assertIsNone(theirs.poll())


if __name__ == "__main__":
    main()
