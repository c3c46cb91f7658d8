// Everything that a page can leave in a browser. Each store can be read (null: nothing is there) and written.
"use strict";

const result = request => new Promise((done, fail) => {
  request.onsuccess = () => done(request.result);
  request.onerror = () => fail(request.error);
});

const ended = change => new Promise((done, fail) => {
  change.oncomplete = done;
  change.onerror = change.onabort = () => fail(change.error);
});

const openDatabase = async (name, factory) => {
  const request = factory.open(name, 1);
  request.onupgradeneeded = () => request.result.createObjectStore("things");
  return result(request);
};

const fromDatabase = async (name, factory = indexedDB) => {
  if (!(await factory.databases()).some(base => base.name === name)) return null;
  const base = await openDatabase(name, factory);
  const value = await result(base.transaction("things").objectStore("things").get("key")) ?? null;
  base.close();
  return value;
};

const intoDatabase = async (name, value, factory = indexedDB) => {
  const base = await openDatabase(name, factory);
  const change = base.transaction("things", "readwrite", {durability: "strict"});
  change.objectStore("things").put(value, "key");
  await ended(change);
  base.close();
};

const fromFolder = async (folder, name) => {
  try {
    return await (await (await folder.getFileHandle(name)).getFile()).text();
  } catch (error) {
    if (error.name === "NotFoundError") return null;
    throw error;
  }
};

const intoFolder = async (folder, name, text) => {
  const stream = await (await folder.getFileHandle(name, {create: true})).createWritable();
  await stream.write(text);
  await stream.close();
};

const cookie = name =>
  new Map(document.cookie.split("; ").filter(Boolean).map(pair => pair.split("="))).get(name) ?? null;

const stores = {
  localStorage: {
    read: () => localStorage.getItem("kept"),
    write: mark => localStorage.setItem("kept", mark),
  },
  sessionStorage: {
    read: () => sessionStorage.getItem("kept"),
    write: mark => sessionStorage.setItem("kept", mark),
  },
  indexedDatabase: {
    read: () => fromDatabase("base"),
    write: mark => intoDatabase("base", mark),
  },
  blobInIndexedDatabase: {
    read: async () => (await fromDatabase("blobs"))?.text() ?? null,
    write: mark => intoDatabase("blobs", new Blob([mark.padEnd(100000)])),
  },
  cacheStorage: {
    read: async () => (await caches.match("http://kept.invalid/"))?.text() ?? null,
    write: async mark => (await caches.open("cache")).put("http://kept.invalid/", new Response(mark)),
  },
  privateFiles: {
    read: async () => fromFolder(await navigator.storage.getDirectory(), "file"),
    write: async mark => intoFolder(await navigator.storage.getDirectory(), "file", mark),
  },
};

if (navigator.storageBuckets) {
  const bucket = () => navigator.storageBuckets.open("bucket", {persisted: true});
  const read = async inside =>
    (await navigator.storageBuckets.keys()).includes("bucket") ? inside(await bucket()) : null;
  Object.assign(stores, {
    databaseInBucket: {
      read: () => read(async within => fromDatabase("base", within.indexedDB)),
      write: async mark => intoDatabase("base", mark, (await bucket()).indexedDB),
    },
    cacheInBucket: {
      read: () => read(async within => (await within.caches.match("http://kept.invalid/"))?.text() ?? null),
      write: async mark =>
        (await (await bucket()).caches.open("cache")).put("http://kept.invalid/", new Response(mark)),
    },
    filesInBucket: {
      read: () => read(async within => fromFolder(await within.getDirectory(), "file")),
      write: async mark => intoFolder(await (await bucket()).getDirectory(), "file", mark),
    },
  });
}

// Stores of sites that extensions don't have.
const storesOfSites = {
  partitionedCookie: {
    read: () => cookie("partitioned"),
    write: mark => {
      document.cookie = `partitioned=${mark}; Max-Age=864000; SameSite=None; Secure; Partitioned`;
    },
  },
  cookie: {
    read: () => cookie("script"),
    // Chromium writes cookies to the disk after half a minute or after 512 changes, hence the 600 changes.
    write: mark => {
      for (let count = 0; count < 600; ++count)
        document.cookie = `script=${mark}; Max-Age=864000; SameSite=None; Secure`;
    },
  },
  serviceWorker: {
    read: async () => {
      const registration = await navigator.serviceWorker.getRegistration("/");
      return registration ? new URL(registration.active.scriptURL).search.slice(1) : null;
    },
    write: async mark => {
      await navigator.serviceWorker.register("/worker.js?" + mark);
      await navigator.serviceWorker.ready;
    },
  },
};

// Frames have none.
if (window === top && "SyncManager" in window) {
  storesOfSites.backgroundSync = {
    read: async () => (await (await navigator.serviceWorker.getRegistration("/"))?.sync.getTags())?.[0] ?? null,
    write: async mark => (await navigator.serviceWorker.ready).sync.register(mark),
  };
}

if (navigator.requestMediaKeySystemAccess) {
  const kinds = ["video/webm; codecs=vp8", 'video/mp4; codecs="avc1.42E01E"'].map(contentType => ({contentType}));
  storesOfSites.protectedMedia = {
    read: () => null,  // only the browser sees it
    write: () => navigator.requestMediaKeySystemAccess("org.w3.clearkey", [{
      initDataTypes: ["keyids", "webm", "cenc"], videoCapabilities: kinds,
    }]).then(access => access.createMediaKeys(), () => null),
  };
}

if (window.webkitRequestFileSystem) {
  const root = () => new Promise((done, fail) =>
    webkitRequestFileSystem(TEMPORARY, 1 << 20, system => done(system.root), fail));
  storesOfSites.fileSystem = {
    read: async () => {
      const folder = await root();
      const entry = await new Promise(done => folder.getFile("older", {}, done, () => done(null)));
      return entry ? (await new Promise((done, fail) => entry.file(done, fail))).text() : null;
    },
    write: async mark => {
      const folder = await root();
      const entry = await new Promise((done, fail) => folder.getFile("older", {create: true}, done, fail));
      const writer = await new Promise((done, fail) => entry.createWriter(done, fail));
      await new Promise((done, fail) => {
        writer.onwriteend = done;
        writer.onerror = () => fail(writer.error);
        writer.write(new Blob([mark]));
      });
    },
  };
}

const attempt = async action => {
  try {
    return await action();
  } catch (error) {
    return `error: ${error.name}: ${error.message}`;
  }
};

const readAll = async from => {
  const found = {};
  for (const [name, store] of Object.entries(from)) {
    const value = await attempt(store.read);
    found[name] = typeof value === "string" ? value.trim() : value;
  }
  return found;
};

// Writes what is missing; returns the errors of those stores that failed twice.
const writeAll = async (into, found, markOf) => {
  const failed = {};
  for (const [name, store] of Object.entries(into)) {
    if (found[name] === markOf(name)) continue;
    const write = () => attempt(() => store.write(markOf(name)));
    if (typeof await write() !== "string") continue;
    const answer = await write();
    if (typeof answer === "string") failed[name] = answer;
  }
  return failed;
};

const report = (address, what) => fetch(address, {method: "POST", body: JSON.stringify(what)});
