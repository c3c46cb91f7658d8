"""See bench/overwriting-proof."""

import os
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "system"))
import session  # noqa: E402

PROGRAMS = os.path.join(HERE, "..", "build", "release", "bin")
SILVERLIGHT = "Library/Application Support/Microsoft/Silverlight"
LOCAL_STATE = '{"profile": {"info_cache": {%s}}}'
MARK = b"TIDEMARK"
FILES = 300


def marks_in(image):
    count, overlap = 0, b""
    with open(image, "rb") as file:
        while block := file.read(1 << 22):
            count += (overlap + block).count(MARK)
            overlap = block[-len(MARK) + 1:]
    return count


def marked_files(size, overwrite):
    """Removes marked files on a file system of their own; returns how many marks its image held before and after."""
    folder = tempfile.mkdtemp(prefix="tidewell-proof-", dir="/tmp")
    image, mount = folder + "/image", folder + "/mount"
    os.mkdir(mount)
    subprocess.run(["truncate", "-s", "256M", image], check=True)
    subprocess.run(["mkfs.ext4", "-q", image], check=True)
    subprocess.run(["mount", "-o", "loop", image, mount], check=True)
    try:
        with session.Session(PROGRAMS) as desk:
            desk.home = mount + "/ann"
            # Only files that are removed as items of their own are overwritten, not those in a folder. So each file
            # has a profile of its own, and the name of its plug-in folder.
            data = "Library/Application Support/Chromium"
            names = [f"P{number}" for number in range(FILES)]
            for name in names:
                desk.file(f"{data}/{name}/Pepper Data", (MARK.decode() * (size // len(MARK) + 1))[:size])
            desk.file(f"{data}/Local State",
                      LOCAL_STATE % ", ".join(f'"{name}": {{"name": "{name}"}}' for name in names))
            os.sync()
            subprocess.run(["sync", "-f", mount], check=True)
            before = marks_in(image)
            desk.configure(["org.chromium.Chromium"], overwrite=overwrite)
            session.OpenPanel(desk.connection)
            desk.start_worker()
            desk.request("org.chromium.Chromium")
            desk.announce_quit("Chromium", "org.chromium.Chromium")
            desk.wait(lambda: not any(desk.exists(f"{data}/{name}/Pepper Data") for name in names), 120)
            desk.worker.stop()
            desk.home = desk.root
    finally:
        subprocess.run(["umount", mount], check=True)
    after = marks_in(image)
    os.remove(image)
    os.rmdir(mount)
    os.rmdir(folder)
    return before, after


def main():
    good = True
    for size in (6_000, 200_000):
        for overwrite in (True, False):
            before, after = marked_files(size, overwrite)
            how = "overwritten" if overwrite else "plain      "
            print(f"{FILES} files of {size:7,} bytes, {how}: {before:9,} marks on the disk before, {after:9,} after",
                  flush=True)
            good &= before > 0 and (after == 0 if overwrite else after == before)
    print("As it should be." if good else "NOT as it should be.")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
