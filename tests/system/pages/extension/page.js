// The extension's own page: reports what it finds in its stores, and writes what is missing.
"use strict";

const api = globalThis.browser ?? chrome;

const fromArea = area => ({
  read: async () => (await area.get("kept")).kept ?? null,
  write: mark => area.set({kept: mark}),
});

const kept = {
  ...stores,
  local: fromArea(api.storage.local),
  synchronized: fromArea(api.storage.sync),
};
// It belongs to a tab, and this page gets a new tab at each start.
delete kept.sessionStorage;
const markOf = name => `zqextension-${name}.`;

(async () => {
  const {address} = await (await fetch("settings.json")).json();
  const found = await readAll(kept);
  const failed = await writeAll(kept, found, markOf);
  await report(address, {found, failed, works: await readAll(kept), origin: location.origin});
  api.tabs.remove((await api.tabs.getCurrent()).id);
})();
