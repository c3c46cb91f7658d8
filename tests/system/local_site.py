"""Sites on this machine that leave in a browser all that a site can: one that is visited frames the others. They have
domains of their own, at the usual ports and over secure connections: the browsers are told where these lead, and trust
the authority that vouches for them. Nothing comes from a network."""

import base64
import http.server
import json
import os
import shutil
import ssl
import string
import subprocess
import threading
import urllib.parse
import zipfile

PAGES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "pages")
HOSTS = {"first": "quokka-press.test", "third": "wombat-ads.test", "secure": "numbat-bank.test"}
PLACES = {host: place for place, host in HOSTS.items()}

PICTURE = base64.b64decode("iVBORw0KGgoAAAANSUhEUgAAAAEAAAABCAYAAAAfFcSJAAAADUlEQVR42mNk+M9QDwADhgGAWjR9awAAAABJRU5Erk"
                           "JggmCC")
LARGE_SCRIPT = "// zqlarge-script.\n" + "".join(
    f"function part{number}(count) {{ let sum = 'zqlarge-function.'; for (let i = 0; i < count; ++i) sum += i;"
    f" return sum + {number}; }}\npart{number}(3);\n" for number in range(1000))
WORKER_SCRIPT = """// zqlarge-worker.
addEventListener("install", () => skipWaiting());
addEventListener("activate", event => event.waitUntil(clients.claim()));
addEventListener("fetch", event => {});
addEventListener("sync", event => event.waitUntil(Promise.reject()));  // tried again after minutes
"""
KEPT = {"Cache-Control": "public, max-age=864000"}
NOT_KEPT = {"Cache-Control": "no-store"}
# Data that the browser has kept and sends to the server with its requests, by the name in the page's report.
COOKIES = {"httpOnlyCookie": "httponly", "sessionCookie": "session", "partitionedHttpOnlyCookie": "__Host-part"}


class Authority:
    """A certificate authority; its own certificate is in `folder`/authority.pem."""

    def __init__(self, folder):
        self.folder = folder
        self.certificate = os.path.join(folder, "authority.pem")
        self._run("req", "-x509", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-days", "30",
                  "-subj", "/CN=Local tests", "-keyout", "authority.key", "-out", "authority.pem",
                  "-addext", "basicConstraints=critical,CA:TRUE", "-addext", "keyUsage=critical,keyCertSign")

    def base64(self):
        with open(self.certificate) as file:
            return "".join(file.read().split("-----")[2].split())

    def _run(self, *words):
        subprocess.run(["openssl", *words], cwd=self.folder, check=True, capture_output=True)

    def context(self, hosts):
        """The TLS context for a server of these names."""
        names = ",".join("DNS:" + host for host in hosts)
        with open(os.path.join(self.folder, "extensions"), "w") as file:
            file.write(f"subjectAltName={names}\nextendedKeyUsage=serverAuth\nbasicConstraints=CA:FALSE\n")
        self._run("req", "-newkey", "ec", "-pkeyopt", "ec_paramgen_curve:P-256", "-nodes", "-subj", "/CN=Sites",
                  "-keyout", "site.key", "-out", "site.request")
        self._run("x509", "-req", "-in", "site.request", "-CA", "authority.pem", "-CAkey", "authority.key",
                  "-CAcreateserial", "-days", "30", "-extfile", "extensions", "-out", "site.pem")
        context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
        context.load_cert_chain(os.path.join(self.folder, "site.pem"), os.path.join(self.folder, "site.key"))
        return context

    def trust_in(self, database):
        """Adds the authority to a database of trusted ones, as the user does in the browser."""
        os.makedirs(database, exist_ok=True)
        if not os.path.exists(database + "/cert9.db"):
            subprocess.run(["certutil", "-d", "sql:" + database, "-N", "--empty-password"], check=True)
        subprocess.run(["certutil", "-d", "sql:" + database, "-A", "-t", "C,,", "-n", "Local tests",
                        "-i", self.certificate], check=True)


class Visit:
    """What the pages of one visit have reported."""

    def __init__(self, place="first"):
        self.place = place   # the site that frames the others
        self.pages = {}      # place: {"found": …, "failed": …, "works": …}
        self.extension = None
        self.typed = ""
        self.zoomed = None
        self.reopened = []   # the titles of reopened tabs
        self.again = []      # what these tabs still have
        self.asked = {}      # place: {what the browser had kept and sent}
        self.served = set()  # (place, path): what the browser requested, and so did not have
        self.insecure = False  # whether it has come over an insecure connection, as no site had forbidden

    def complete(self):
        return set(self.pages) == set(HOSTS)

    def found(self):
        """What all pages have found, as "place: store" with its contents."""
        found = {}
        for place, page in self.pages.items():
            found.update({f"{place}: {name}": value for name, value in page["found"].items() if value is not None})
            found.update({f"{place}: {name}": value for name, value in self.asked[place].items()})
            found.update({f"{place}: cached {path}": "yes" for path in ("/cached", "/image.png", "/large.js")
                          if (place, path) not in self.served})
        for tab in self.again:
            found.update({f"first: {name}": value for name, value in tab.items() if value is not None})
        return found


class Site:
    """Serves all places; `visits` holds the reports by number."""

    def __init__(self, folder):
        os.makedirs(folder)
        self.folder = folder
        self.authority = Authority(folder)
        self.visit = 0
        self.visits = {0: Visit()}  # number 0 is for the extension only
        self.extension_told = False
        self.servers = [self._serve(None), self._serve(self.authority.context(HOSTS.values()))]
        self.port, self.secure_port = (server.server_port for server in self.servers)

    def _serve(self, context):
        class Server(http.server.ThreadingHTTPServer):
            daemon_threads = True

            def handle_error(self, *_):
                pass  # the browser ended during the reply

            def finish_request(self, request, address):
                if not context:
                    return super().finish_request(request, address)
                # In this connection's thread, so that others don't wait for the handshake.
                request.settimeout(60)
                with context.wrap_socket(request, server_side=True) as secured:
                    super().finish_request(secured, address)

        server = Server(("127.0.0.1", 0), type("Handler", (Handler,), {"site": self}))
        threading.Thread(target=server.serve_forever, daemon=True).start()
        return server

    def close(self):
        for server in self.servers:
            server.shutdown()
            server.server_close()

    @staticmethod
    def address(place):
        return f"https://{HOSTS[place]}/"

    def next_visit(self, place="first"):
        """Begins a visit to a site that frames the others; returns its address and its reports, which are still empty.
        The address is insecure: a browser that has noted that the site demands a secure connection never uses it."""
        self.visit = len(self.visits)
        self.visits[self.visit] = Visit(place)
        return f"http://{HOSTS[place]}/?visit={self.visit}", self.visits[self.visit]

    def page(self, place, visit):
        with open(os.path.join(PAGES, "page.html")) as file:
            text = string.Template(file.read())
        frames = ""
        if place == self.visits[visit].place and visit == self.visit:
            frames = "".join(f'<iframe src="{self.address(other)}?visit={visit}"></iframe>' for other in HOSTS
                             if other != place)
        return text.substitute(place=place, visit=visit, frames=frames, past=json.dumps(visit != self.visit))

    def extension(self, folder, manifest):
        """Writes an extension to a folder, and beside it "extension.xpi"."""
        shutil.copytree(os.path.join(PAGES, "extension"), folder)
        shutil.copy(os.path.join(PAGES, "stores.js"), folder)
        for name, contents in (("manifest.json", manifest),
                               ("settings.json", {"address": f"http://127.0.0.1:{self.port}/report/extension"})):
            with open(os.path.join(folder, name), "w") as file:
                json.dump(contents, file)
        with zipfile.ZipFile(folder + ".xpi", "w") as packed:
            for name in os.listdir(folder):
                packed.write(os.path.join(folder, name), name)


class Handler(http.server.BaseHTTPRequestHandler):
    protocol_version = "HTTP/1.1"
    site = None

    def log_message(self, *_):
        pass

    def answer(self, content, kind, *headers):
        self.send_response(200)
        self.send_header("Content-Type", kind)
        for some in headers:
            for name, value in some.items():
                for one in value if isinstance(value, list) else [value]:
                    self.send_header(name, one)
        content = content if isinstance(content, bytes) else content.encode()
        self.send_header("Content-Length", str(len(content)))
        self.end_headers()
        self.wfile.write(content)

    def parts(self):
        address = urllib.parse.urlsplit(self.path)
        visit = urllib.parse.parse_qs(address.query).get("visit", [self.site.visit])[0]
        return PLACES.get(self.headers["Host"].split(":")[0]), address.path, int(visit)

    def do_GET(self):
        place, path, visit = self.parts()
        if place and not isinstance(self.connection, ssl.SSLSocket):
            self.site.visits[visit].insecure = True
            self.send_response(302)
            self.send_header("Location", f"https://{HOSTS[place]}{self.path}")
            self.send_header("Content-Length", "0")
            self.end_headers()
            return
        if visit == self.site.visit:
            self.note_what_came(place, path)
        if path == "/":
            # A tab that is opened again may be faster than the visit, which is to find nothing of it.
            lasting = self.lasting(place) if visit == self.site.visit else {}
            self.answer(self.site.page(place, visit), "text/html", NOT_KEPT, lasting)
        elif path in ("/stores.js", "/page.js"):
            with open(PAGES + path) as file:
                self.answer(file.read(), "text/javascript", NOT_KEPT)
        elif path == "/large.js":
            self.answer(LARGE_SCRIPT, "text/javascript", KEPT)
        elif path == "/worker.js":
            self.answer(WORKER_SCRIPT, "text/javascript", KEPT)
        elif path == "/runs-the-large-script":
            self.answer('<!doctype html><script src="/large.js"></script>', "text/html", NOT_KEPT)
        elif path in ("/image.png", "/favicon.ico"):
            self.answer(PICTURE, "image/png", KEPT)
        elif path == "/cached":
            self.answer(f"zq{place}-cached.".ljust(100000), "text/plain", KEPT)
        elif path == "/dictionary":
            self.answer(f"zq{place}-dictionary. " * 100, "text/plain", KEPT,
                        {"Use-As-Dictionary": 'match="/with-dictionary*"'})
        elif path == "/with-dictionary":
            self.answer("", "text/plain", NOT_KEPT)
        else:
            self.send_error(404)

    def note_what_came(self, place, path):
        """Records what came with a visit's first request for this path, before the visit has written anything."""
        visit = self.site.visits[self.site.visit]
        if (place, path) in visit.served:
            return
        visit.served.add((place, path))
        asked = visit.asked.setdefault(place, {})
        if path == "/":
            sent = dict(pair.split("=", 1) for pair in self.headers.get("Cookie", "").split("; ") if "=" in pair)
            asked.update({store: sent[name] for store, name in COOKIES.items() if name in sent})
            if "Sec-CH-UA-Model" in self.headers:
                asked["clientHints"] = "yes"
            if place == visit.place and not visit.insecure:
                asked["secureOnly"] = "yes"
        elif "Available-Dictionary" in self.headers:
            asked["dictionary"] = "yes"

    def lasting(self, place):
        """The headers by which a server makes a browser keep something about it."""
        everywhere = "Path=/; HttpOnly; SameSite=None; Secure"
        reports = self.site.address(place) + "reports"
        return {
            "Set-Cookie": [f"httponly=zq{place}-httpOnlyCookie.; Max-Age=864000; {everywhere}",
                           f"session=zq{place}-sessionCookie.; {everywhere}",
                           f"__Host-part=zq{place}-partitionedHttpOnlyCookie.; Max-Age=864000; {everywhere};"
                           " Partitioned"],
            "Accept-CH": "Sec-CH-UA-Model",
            "Strict-Transport-Security": "max-age=864000",
            "Alt-Svc": f'h3=":{self.site.secure_port}"; ma=864000',
            "Reporting-Endpoints": f'reports="{reports}"',
            "Report-To": json.dumps({"group": "reports", "max_age": 864000, "endpoints": [{"url": reports}]}),
            "NEL": json.dumps({"report_to": "reports", "max_age": 864000}),
        }

    def do_POST(self):
        told = json.loads(self.rfile.read(int(self.headers["Content-Length"])) or b"null")
        _, path, number = self.parts()
        what = path.removeprefix("/report/")
        visit = self.site.visits[number]
        if what in HOSTS:
            visit.pages[what] = told
        elif what == "again":
            visit = self.site.visits[self.site.visit]
            visit.reopened.append(told.pop("title"))
            visit.again.append(told)
        elif what == "typed":
            visit.typed = max(visit.typed, told, key=len)
        elif what == "zoomed":
            visit.zoomed = told
        elif what == "extension":
            visit.extension = told
            self.site.extension_told = True
        self.answer("", "text/plain", {"Access-Control-Allow-Origin": "*"})
