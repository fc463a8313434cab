"""The daemon and the web servers in front of it, in the namespaces of the service tests."""

import os
import re
import shutil

import namespace
import waiting
from daemons.daemon import Daemon

SOURCES = os.path.realpath(os.path.join(os.path.dirname(os.path.abspath(__file__)), "../../.."))
PACKAGING = f"{SOURCES}/packaging"
BUILD = os.path.dirname(os.path.dirname(os.path.realpath(os.environ["CURRENTCONN"])))
STATE = "/run/currentconn"
SESSIONS = f"{STATE}/sessions"
WEB_SOCKET = f"{STATE}/web.sock"
LOCAL_SOCKET = f"{STATE}/local.sock"
PAGE = "/srv/currentconn-page"
_INSTALLED_PAGE = "/usr/share/currentconn/page"  # which the tests cannot write
CERTIFICATE = "/srv/cert.pem"
_CREDENTIALS = "/run/credentials/currentconn-page.service"
PLAIN_PORT = 8088
TLS_PORT = 8443


def is_listening(path):
    """Whether somebody accepts connections at this name: a socket that is left from a daemon before has it, too."""
    accepting = "00010000"  # the kernel's __SO_ACCEPTCON
    sockets = [line.split() for line in namespace.read("/proc/net/unix").splitlines()]
    return any(socket[-1] == path and socket[3] == accepting for socket in sockets)


class Currentconnd(Daemon):
    """The daemon, with `lines` in its configuration."""

    name = "currentconnd"

    def __init__(self, *lines):
        super().__init__()
        self._lines = lines

    def configure(self):
        namespace.write("/etc/currentconn/currentconn.toml", "\n".join(self._lines) + "\n")
        shutil.copy(f"{PACKAGING}/pam/currentconn", "/etc/pam.d/currentconn")

    def command(self):
        return [os.environ["CURRENTCONND"]]

    def start(self):
        super().start()
        waiting.until("the daemon's sockets", lambda: is_listening(WEB_SOCKET) and is_listening(LOCAL_SOCKET))
        return self

    def log_text(self):
        """All that it has logged so far."""
        return namespace.read(self.log)

    def wait_for_line(self, pattern):
        """Waits until it has logged this: the line of a call comes after its answer."""
        waiting.until(f"a line like {pattern}", lambda: re.search(pattern + "$", self.log_text(), re.MULTILINE))


def install_page():
    """Puts the page where the web servers' accounts can read it."""
    if not os.path.exists(PAGE):
        shutil.copytree(f"{BUILD}/page", PAGE)
        namespace.run("chmod", "-R", "u=rwX,go=rX", PAGE)


def install_configuration(name, target, port=TLS_PORT, proxy=None):
    """Copies a packaged configuration, with the tests' place of the page; `proxy` may name the clients' addresses."""
    text = namespace.read(f"{PACKAGING}/{name}").replace(_INSTALLED_PAGE, PAGE).replace(str(TLS_PORT), str(port))
    namespace.write(target, text if proxy is None else behind(text, proxy))


def behind(text, proxy):
    """A configuration with its block "Behind a proxy" switched on and this proxy named."""
    head, block = text.split("# Behind a proxy")
    switched_on = re.sub(r"(?m)^( *)#(?! )", r"\1", block).replace("10.0.0.1", proxy)
    if block.count("10.0.0.1") != 1:
        raise AssertionError(f"the block names no proxy: {block}")
    return f"{head}# Behind a proxy{switched_on}"


def install_certificate():
    """A certificate that only the tests trust."""
    if os.path.exists("/etc/currentconn/page.pem"):
        return
    os.makedirs("/etc/currentconn", exist_ok=True)
    namespace.run("openssl", "req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:prime256v1", "-nodes",
                  "-days", "2", "-subj", "/CN=fileserver", "-addext", "subjectAltName=DNS:fileserver,DNS:files",
                  "-keyout", "/srv/key.pem", "-out", CERTIFICATE)
    namespace.write("/etc/currentconn/page.pem", namespace.read("/srv/key.pem") + namespace.read(CERTIFICATE), 0o600)


class WebServer(Daemon):
    """Base of the packaged web servers: https. `proxy` is the address of one that stands before it."""

    def __init__(self, proxy=None, port=TLS_PORT):
        super().__init__()
        self.ports = (port,)
        self._options = {"proxy": proxy, "port": port}

    def configure(self):
        install_page()
        install_certificate()


class PlainLighttpd(Daemon):
    """lighttpd without TLS, as ./run serve has it."""

    name = "lighttpd-plain"
    ports = (PLAIN_PORT,)

    def configure(self):
        install_page()
        namespace.write("/etc/currentconn/plain.conf",
                        f'var.page_folder = "{PAGE}"\nvar.web_socket = "{WEB_SOCKET}"\nserver.port = {PLAIN_PORT}\n'
                        'server.username = "www-data"\nserver.groupname = "www-data"\n'
                        f'include "{PACKAGING}/lighttpd/page.conf"\n')

    def command(self):
        return ["/usr/sbin/lighttpd", "-D", "-f", "/etc/currentconn/plain.conf"]


class Lighttpd(WebServer):
    """lighttpd with the packaged configuration."""

    name = "lighttpd"

    def configure(self):
        super().configure()
        install_configuration("lighttpd/page.conf", "/etc/currentconn/page.conf")
        install_configuration("lighttpd/limits.lua", "/etc/currentconn/limits.lua")
        install_configuration("lighttpd/currentconn.conf", "/etc/currentconn/lighttpd.conf", **self._options)
        os.makedirs(_CREDENTIALS, exist_ok=True)
        shutil.copy("/etc/currentconn/page.pem", f"{_CREDENTIALS}/page.pem")
        shutil.chown(f"{_CREDENTIALS}/page.pem", "www-data")

    def command(self):
        """As its unit starts it: it never has root's rights, and gets the certificate as a credential."""
        return ["env", f"CREDENTIALS_DIRECTORY={_CREDENTIALS}", "setpriv", "--reuid=www-data", "--regid=www-data",
                "--init-groups", "--no-new-privs", "--inh-caps=-all", "--bounding-set=-all",
                "/usr/sbin/lighttpd", "-D", "-f", "/etc/currentconn/lighttpd.conf"]


class Nginx(WebServer):
    """nginx with the packaged configuration and Debian's own around it."""

    name = "nginx"

    def configure(self):
        super().configure()
        os.makedirs("/var/log/nginx", exist_ok=True)
        install_configuration("nginx/currentconn.conf", "/etc/nginx/conf.d/currentconn.conf", **self._options)
        shutil.rmtree("/etc/nginx/sites-enabled", ignore_errors=True)

    def command(self):
        return ["/usr/sbin/nginx", "-g", "daemon off;"]


class Apache(WebServer):
    """Apache with the packaged configuration and Debian's own around it."""

    name = "apache"

    def configure(self):
        super().configure()
        for folder in ("/run/apache2", "/run/lock/apache2", "/var/log/apache2"):
            os.makedirs(folder, exist_ok=True)
        install_configuration("apache/currentconn.conf", "/etc/apache2/sites-available/currentconn.conf", **self._options)
        namespace.write("/etc/apache2/ports.conf", "")
        namespace.run("a2enmod", "--quiet", "ssl", "headers", "deflate", "expires", "proxy", "proxy_scgi", "reqtimeout",
                      "security2", *(("remoteip",) if self._options["proxy"] else ()))
        namespace.run("a2dissite", "--quiet", "000-default")
        namespace.run("a2ensite", "--quiet", "currentconn")

    def command(self):
        return ["/bin/bash", "-c", ". /etc/apache2/envvars && exec /usr/sbin/apache2 -DFOREGROUND"]
