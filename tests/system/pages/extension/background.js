// Opens the extension's page whenever the browser starts.
"use strict";

const api = globalThis.browser ?? chrome;

const showPage = async () => {
  try {
    await api.tabs.create({url: api.runtime.getURL("page.html"), active: false});
  } catch {
    setTimeout(showPage, 200);  // fails while there is no window yet
  }
};

api.runtime.onInstalled.addListener(showPage);
api.runtime.onStartup.addListener(showPage);
