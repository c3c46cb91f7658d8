// A visit: reports what it finds in every store, fills them, and reads them back. The document has set `place` (which
// of the sites this is), `visit` (its number) and `past` (whether it is an earlier one).
"use strict";

const all = {...stores, ...storesOfSites};
const markOf = name => `zq${place}-${name}.`;
const tell = (what, answer) => report(`/report/${what}?visit=${visit}`, answer);
const times = window.devicePixelRatio;

// After a few loads the browser keeps the compiled form of a large script.
const runTheLargeScriptAgain = async () => {
  for (let count = 0; count < 3; ++count) {
    const frame = document.createElement("iframe");
    frame.src = "/runs-the-large-script";
    await new Promise(done => {
      frame.onload = done;
      document.body.append(frame);
    });
    await new Promise(done => setTimeout(done, 200));
    frame.remove();
  }
};

const ofThisTab = () => ({
  windowName: window.name || null,
  historyState: history.state,
  formText: document.getElementById("area").value || document.getElementById("text").value || null,
  sessionStorage: sessionStorage.getItem("kept"),
});

const read = async () => ({
  ...await readAll(all),
  ...ofThisTab(),
  zoom: times === 1 ? null : String(times),
  permission: Notification.permission === "granted" ? "granted" : null,
});

const visitTheSite = async () => {
  const found = await read();
  for (const path of ["/cached", "/with-dictionary", "/dictionary", "/with-dictionary"])
    await (await fetch(path)).text();
  const failed = await writeAll(all, found, markOf);
  window.name = markOf("windowName");
  history.replaceState(markOf("historyState"), "");
  if (navigator.mediaDevices) await navigator.mediaDevices.enumerateDevices();
  const works = await readAll(all);
  await runTheLargeScriptAgain();
  await tell(place, {found, failed, works});
};

const start = async () => {
  const text = document.getElementById("text");
  if (window === top) text.focus();
  text.addEventListener("input", () => {
    document.getElementById("area").value = text.value;  // browsers restore it also where forms are not completed
    tell("typed", text.value);
  });
  window.addEventListener("resize", () => window.devicePixelRatio === times || tell("zoomed", devicePixelRatio));
  try {
    await visitTheSite();
  } catch (error) {
    await tell(place, {error: String(error)});
  }
};

// A tab of an earlier visit that the browser has reopened only reports what it still has, once its form is restored.
if (past) addEventListener("load", () => setTimeout(() => tell("again", {title: document.title, ...ofThisTab()}), 500));
else start();
