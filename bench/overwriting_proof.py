"""See bench/overwriting-proof."""

import argparse
import contextlib
import os
import shutil
import subprocess
import sys
import tempfile

HERE = os.path.dirname(os.path.abspath(__file__))
sys.path.insert(0, os.path.join(HERE, "..", "tests", "system"))
import session  # noqa: E402
from marked_homes import MARK_SIZE, LibraryHome, LinuxHome  # noqa: E402

IMAGE_SIZE = "8G"  # sparse
BLOCK = 16 << 20
CLEANING = 1200  # time limit in seconds: gigabytes are written three times


def marks_in(image, kinds):
    """How many marks of each kind a file holds; its holes are passed over."""
    counts, overlap = [0] * len(kinds), b""
    with open(image, "rb", buffering=0) as file:
        size, at, last = os.fstat(file.fileno()).st_size, 0, -1
        while at < size:
            try:
                at = os.lseek(file.fileno(), at, os.SEEK_DATA)
            except OSError:  # nothing but a hole up to the end
                break
            if at != last:
                overlap = b""
            block = file.read(BLOCK)
            searched = overlap + block
            counts = [count + searched.count(kind.mark) for count, kind in zip(counts, kinds)]
            overlap = searched[-MARK_SIZE + 1:]
            at = last = at + len(block)
    return counts


@contextlib.contextmanager
def mounted(image, mount):
    subprocess.run(["mount", "-o", "loop", image, mount], check=True)
    try:
        yield
    finally:
        # A process that has copied the mounts meanwhile keeps the file system mounted, and unwritten, for a while.
        subprocess.run(["sync", "-f", mount], check=True)
        subprocess.run(["umount", mount], check=True)


@contextlib.contextmanager
def scratch_folder():
    folder = tempfile.mkdtemp(prefix="tidewell-proof-", dir="/tmp")
    try:
        yield folder
    finally:
        shutil.rmtree(folder)


def is_about(name, body):
    """Whether a notification tells of that browser's cleaning, on a home with a folder Library or on any other."""
    return body.endswith("from " + name) or body.startswith(name + ": ")


def clean(programs, home, browsers, overwrite):
    """Lets the worker clean up after these browsers, until the end of the second run."""
    with session.Session(programs) as desk:
        desk.home = home
        desk.configure(browsers, overwrite=overwrite)
        panel = session.OpenPanel(desk.connection)
        notifications = session.NotificationService(desk.connection)
        desk.start_worker()
        for identifier, name in browsers.items():
            asked = len(panel.asked)
            desk.request(identifier)
            desk.wait(lambda: len(panel.asked) > asked, what="the question for a folder")
            desk.announce_quit(name, identifier)
        desk.wait(lambda: {name for name in browsers.values()
                           for posted in notifications.posted if is_about(name, posted["body"])}
                  == set(browsers.values()), CLEANING, "the end of the cleaning")
        desk.worker.stop()
        desk.home = desk.root
        return desk.worker.log


def removal(programs, file_system, make_home, overwrite):
    """Cleans a home on a file system of its own. Returns its kinds of data, how many marks of each the raw image held
    before and after, and what else was wrong."""
    with scratch_folder() as folder:
        image, mount = folder + "/image", folder + "/mount"
        os.mkdir(mount)
        subprocess.run(["truncate", "-s", IMAGE_SIZE, image], check=True)
        subprocess.run(["mkfs." + file_system, "-q", image], check=True)
        with mounted(image, mount):
            home = make_home(mount + "/ann")
        before = marks_in(image, home.kinds)
        with mounted(image, mount):
            complaints = clean(programs, mount + "/ann", home.browsers, overwrite)
            complaints.append(home.complaint())
        return home.kinds, before, marks_in(image, home.kinds), "\n".join(filter(None, complaints))


def is_as_it_should_be(kind, overwrite, before, after):
    # Without overwriting a freed block may serve something else.
    return before >= kind.count and (after == 0 if overwrite else after > before // 2)


def prove(programs, title, file_system, make_home):
    good = True
    for overwrite in (True, False):
        how = "overwritten" if overwrite else "plain"
        kinds, *counts, complaint = removal(programs, file_system, make_home, overwrite)
        for kind, before, after in zip(kinds, *counts):
            is_good = is_as_it_should_be(kind, overwrite, before, after)
            print(f"{title:18}  {kind.title:27}  {how:11} {before:12,} {after:12,}{'' if is_good else '  WRONG'}",
                  flush=True)
            good &= is_good
        if complaint:
            print(complaint)
            good = False
    return good


def main():
    parser = argparse.ArgumentParser(prog="bench/overwriting-proof")
    parser.add_argument("--programs", required=True, help="the folder of the worker and the command")
    parser.add_argument("--full-file", action="store_true", help="also a file of 5 GiB without holes")
    options = parser.parse_args()
    programs = os.path.abspath(options.programs)
    print(f"{'home':18}  {'data':27}  {'removal':11} {'marks before':>12} {'after':>12}")
    good = prove(programs, "ext4, Library", "ext4", LibraryHome)
    for file_system in ("ext4", "xfs"):
        if not shutil.which("mkfs." + file_system):
            print(f"{file_system}: left out, since there is no mkfs.{file_system}")
            continue
        good &= prove(programs, file_system + ", Linux", file_system, lambda home: LinuxHome(home, options.full_file))
    print("As it should be." if good else "NOT as it should be.")
    return 0 if good else 1


if __name__ == "__main__":
    sys.exit(main())
