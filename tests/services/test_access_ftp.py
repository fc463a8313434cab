"""What is said about whether a disabled account still gets in over FTP, held against the real daemons."""

import ftplib
import os
import ssl
import subprocess

import listing
import namespace
from access_test import (AccessTest, IS_DEBIAN_13, LET_IN, OF_PROFTPDS_OWN_CHECK, OPEN_RULES,
                         REFUSED, UNKNOWN, add_alice, text_of)
from clients import ssh
from clients.ftp import Ftp
from daemons.proftpd import Proftpd
from daemons.pureftpd import PureFtpd
from daemons.vsftpd import Vsftpd
from service_test import main


def setUpModule():
    add_alice()


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


if __name__ == "__main__":
    main()
