"""A site of one page that fills the stores of a browser, and reports what it found in them."""

import http.server
import json
import threading

# Reports what it finds in every store, then fills them and reads them back. Chromium writes its cookies to the disk
# after half a minute or after 512 changes, but not when it is told to quit, hence the 600 changes.
PAGE = b"""<!doctype html><meta charset="utf-8"><title>Stores</title><link rel="icon" href="data:,"><script>
const result = request => new Promise((done, fail) => {
  request.onsuccess = () => done(request.result);
  request.onerror = () => fail(request.error);
});
const database = () => {
  const request = indexedDB.open("site", 1);
  request.onupgradeneeded = () => request.result.createObjectStore("things");
  return result(request);
};
const read = async base => ({
  local: localStorage.getItem("site"),
  indexed: await result(base.transaction("things").objectStore("things").get("key")) ?? null,
});
const write = base => new Promise((done, fail) => {
  for (let count = 0; count < 600; ++count) document.cookie = "page=kept; Max-Age=86400";
  localStorage.setItem("site", "kept");
  const change = base.transaction("things", "readwrite", {durability: "strict"});
  change.objectStore("things").put("kept", "key");
  change.oncomplete = done;
  change.onerror = () => fail(change.error);
});
(async () => {
  const report = {};
  try {
    const base = await database();
    report.found = await read(base);
    report.found.cached = (await (await fetch("/cached")).text()).trim();
    await write(base);
    report.works = await read(base);
    report.works.cookie = document.cookie;
    base.close();
  } catch (error) {
    report.error = String(error);
  }
  await fetch("/report", {method: "POST", body: JSON.stringify(report)});
  await fetch("/closing-time");
  window.close();
})();
</script>
"""


class Site:
    """Serves the page; `reports` holds its reports, with the cookies that came with the visit."""

    def __init__(self):
        site = self

        class Handler(http.server.BaseHTTPRequestHandler):
            def log_message(self, *_):
                pass

            def answer(self, content, **headers):
                self.send_response(200)
                for name, value in headers.items():
                    self.send_header(name.replace("_", "-"), value)
                self.send_header("Content-Length", str(len(content)))
                self.end_headers()
                self.wfile.write(content)

            def do_GET(self):
                if self.path == "/":
                    site.cookies = self.headers.get("Cookie", "")
                    self.answer(PAGE, Content_Type="text/html", Cache_Control="no-store",
                                Set_Cookie="server=kept; Max-Age=86400; HttpOnly")
                elif self.path == "/cached":
                    site.served += 1
                    self.answer(b"%d" % site.served + b" " * 100000, Content_Type="text/plain",
                                Cache_Control="public, max-age=86400")
                elif self.path == "/closing-time":
                    site.closing_time.wait()
                    self.answer(b"", Content_Type="text/plain", Cache_Control="no-store")
                else:
                    self.send_error(404)

            def do_POST(self):
                report = json.loads(self.rfile.read(int(self.headers["Content-Length"])))
                self.answer(b"", Content_Type="text/plain")
                report.setdefault("found", {})["cookies"] = site.cookies
                site.reports.append(report)

        class Server(http.server.ThreadingHTTPServer):
            def handle_error(self, *_):
                pass  # the browser ended during the reply

        self.reports = []
        self.cookies = ""
        self.served = 0
        self.closing_time = threading.Event()
        self.server = Server(("127.0.0.1", 0), Handler)
        self.url = f"http://localhost:{self.server.server_port}/"
        self.thread = threading.Thread(target=self.server.serve_forever, daemon=True)
        self.thread.start()

    def close(self):
        self.closing_time.set()
        self.server.shutdown()
        self.thread.join()
        self.server.server_close()
