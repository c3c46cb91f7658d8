"""The script that clears Safari's cookies, run as it is and with home folders that the tests provide."""

import os
import shutil
import stat
import subprocess
import tempfile
import unittest

SCRIPT = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "Worker", "resources", "clearCookies.sh")
BUILT = os.path.join(os.environ.get("TIDEWELL_PROGRAMS", ""), "..", "share", "tidewell", "clearCookies.sh")
CONTAINER = ("Library", "Containers", "com.apple.Safari", "Data", "Library", "Cookies")
COOKIES = ("Cookies.binarycookies", "Cookies.plist")
SPARED = ("HSTS.plist", "Cookies.binarycookies.old", "other.binarycookies", "folder/Cookies.plist")


def tree(root):
    """Every path below the folder, with its content; links are not followed."""
    found = {}
    for folder, folders, files in os.walk(root):
        for name in folders + files:
            path = os.path.join(folder, name)
            if os.path.islink(path):
                content = "-> " + os.readlink(path)
            elif os.path.isdir(path):
                content = None
            else:
                with open(path) as file:
                    content = file.read()
            found[os.path.relpath(path, root)] = content
    return found


class ScriptTest(unittest.TestCase):
    def setUp(self):
        self.root = tempfile.mkdtemp(prefix="tidewell-", dir="/tmp")
        self.addCleanup(shutil.rmtree, self.root, ignore_errors=True)

    def path(self, *names):
        return os.path.join(self.root, *names)

    def file(self, *names, content="kept"):
        path = self.path(*names)
        os.makedirs(os.path.dirname(path), exist_ok=True)
        with open(path, "w") as file:
            file.write(content)
        return path

    def program(self, name, text):
        """Writes a program of that name to the folder "bin", in place of the system's."""
        path = self.file("bin", name, content="#!/bin/sh\n" + text + "\n")
        os.chmod(path, 0o755)
        return path

    def fill(self, home):
        for name in COOKIES + SPARED:
            self.file(home, *CONTAINER, name)
        self.file(home, "Library", "Cookies", "Cookies.binarycookies")

    def run_script(self, script=SCRIPT, **environment):
        result = subprocess.run([script], env=environment, stdin=subprocess.DEVNULL, capture_output=True, text=True,
                                cwd=self.root, timeout=20)
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "", ""))


class AsItStands(ScriptTest):
    def test_can_be_executed_in_the_repository_and_when_built(self):
        self.assertTrue(os.stat(SCRIPT).st_mode & stat.S_IXUSR)
        self.assertTrue(os.stat(SCRIPT).st_mode & stat.S_IXOTH)
        if os.path.exists(BUILT):
            self.assertTrue(os.stat(BUILT).st_mode & stat.S_IXOTH)
            with open(SCRIPT) as ours, open(BUILT) as built:
                self.assertEqual(ours.read(), built.read())

    @unittest.skipUnless(shutil.which("shellcheck"), "no shellcheck here")
    def test_has_no_findings(self):
        result = subprocess.run(["shellcheck", "--norc", "--shell=sh", "--severity=style", SCRIPT],
                                capture_output=True, text=True, timeout=60)
        self.assertEqual((result.stdout + result.stderr, result.returncode), ("", 0))

    def test_changes_nothing_on_this_system_whatever_the_environment(self):
        self.fill("ann")
        hostile = self.file("ran")
        for name in ("id", "getent", "dscl", "cut", "sed", "rm", "killall", "uname"):
            self.program(name, f"echo {name} >>'{hostile}'; echo 'ann:x:1:1::{self.path('ann')}:/bin/sh'")
        before = tree(self.root)
        ann = self.path("ann")
        for environment in ({}, {"HOME": ann}, {"HOME": ann, "USER": "ann", "LOGNAME": "ann"}, {"HOME": "relative"},
                            {"HOME": "/"}, {"HOME": ""}, {"PATH": ""}, {"PATH": self.path("bin"), "HOME": ann},
                            {"PATH": ".:" + self.path("bin")}, {"IFS": "/", "HOME": ann},
                            {"ENV": self.path("bin", "rm"), "BASH_ENV": self.path("bin", "rm")},
                            {"HOME": "$(rm -rf .)", "user": "ann", "home": ann, "folder": ann, "cookies": ann}):
            with self.subTest(environment=environment):
                self.run_script(**environment)
                self.assertEqual(tree(self.root), before)

    def test_takes_no_notice_of_the_folder_that_it_is_run_in(self):
        self.fill(".")
        before = tree(self.root)
        self.run_script(HOME=".")
        self.run_script(HOME=self.root)
        self.assertEqual(tree(self.root), before)


class InAHomeThatThePasswordDatabaseNames(ScriptTest):
    """Runs a copy of the script that finds stand-ins of the system's programs first, and is otherwise unchanged."""

    def setUp(self):
        super().setUp()
        self.fill("ann")
        self.fill("elsewhere")
        self.home = self.path("ann")
        self.password_entry(self.home)
        with open(SCRIPT) as file:
            lines = file.read().split("\n")
        lines_of_path = [number for number, line in enumerate(lines) if line.startswith("PATH=")]
        self.assertEqual(len(lines_of_path), 1)
        lines[lines_of_path[0]] = f"PATH='{self.path('bin')}':/usr/bin:/bin"
        self.script = self.file("script.sh", content="\n".join(lines))
        os.chmod(self.script, 0o755)

    def password_entry(self, home):
        self.program("getent", f'[ "$1" = passwd ] && [ "$2" = "$(id -un)" ] && echo "$2:x:1:1:Ann:{home}:/bin/sh"')

    def cookies(self, home="ann"):
        return [name for name in COOKIES if os.path.lexists(self.path(home, *CONTAINER, name))]

    def assert_nothing_changes(self, **environment):
        before = tree(self.root)
        self.run_script(self.script, **environment)
        self.assertEqual(tree(self.root), before)

    def test_the_cookie_files_of_the_container_go_and_nothing_else(self):
        before = tree(self.root)
        self.run_script(self.script)
        after = tree(self.root)
        self.assertEqual(sorted(before.keys() - after.keys()),
                         sorted(os.path.join("ann", *CONTAINER, name) for name in COOKIES))
        self.assertEqual(after, {path: before[path] for path in after})
        self.assert_nothing_changes()

    def test_the_environment_does_not_lead_elsewhere(self):
        self.run_script(self.script, HOME=self.path("elsewhere"), USER="root", LOGNAME="root", home="/", user="root")
        self.assertEqual(self.cookies(), [])
        self.assertEqual(self.cookies("elsewhere"), list(COOKIES))

    def test_a_linked_folder_anywhere_on_the_way_is_not_followed(self):
        for depth, component in enumerate(CONTAINER, 1):
            with self.subTest(component=component, depth=depth):
                real = self.path("ann", *CONTAINER[:depth])
                os.rename(real, self.path("aside"))
                os.symlink(self.path("elsewhere", *CONTAINER[:depth]), real)
                self.assert_nothing_changes()
                os.remove(real)
                os.rename(self.path("aside"), real)
        self.assertEqual(self.cookies("elsewhere"), list(COOKIES))

    def test_a_cookie_file_that_is_a_link_goes_and_its_target_stays(self):
        letter = self.file("ann", "Documents", "letter")
        link = self.path("ann", *CONTAINER, COOKIES[0])
        os.remove(link)
        os.symlink(letter, link)
        self.run_script(self.script)
        self.assertEqual(self.cookies(), [])
        self.assertTrue(os.path.exists(letter))

    def test_a_folder_in_the_place_of_a_cookie_file_stays(self):
        place = self.path("ann", *CONTAINER, COOKIES[1])
        os.remove(place)
        self.file("ann", *CONTAINER, COOKIES[1], "inside")
        subprocess.run([self.script], env={}, stdin=subprocess.DEVNULL, capture_output=True, check=True, timeout=20)
        self.assertEqual(self.cookies(), [COOKIES[1]])

    def test_a_home_that_is_no_whole_path_is_no_home(self):
        for home in ("", "/", "ann", "./ann", "-rf", "$(touch made)"):
            with self.subTest(home=home):
                self.password_entry(home.replace("$", "\\$"))
                self.assert_nothing_changes()

    def test_a_home_of_an_odd_name_is_one_name(self):
        odd = "ann and bob's *"
        os.rename(self.home, self.path(odd))
        self.password_entry(self.path(odd))
        self.run_script(self.script)
        self.assertEqual(self.cookies(odd), [])
        self.assertEqual(self.cookies("elsewhere"), list(COOKIES))

    def test_no_entry_in_the_password_database_is_no_home(self):
        self.program("getent", "exit 2")
        self.assert_nothing_changes(HOME=self.home)

    def test_a_missing_container_is_not_made(self):
        shutil.rmtree(self.path("ann", "Library", "Containers"))
        self.assert_nothing_changes()

    def test_no_service_is_told_to_end_on_this_system(self):
        told = self.file("told")
        self.program("killall", f"echo told >>'{told}'")
        self.run_script(self.script)
        with open(told) as file:
            self.assertEqual(file.read(), "kept")

    def test_services_of_this_user_are_told_to_end_where_there_are_any_before_their_files_go(self):
        told = self.file("told", content="")
        cookies = self.path("ann", *CONTAINER, COOKIES[0])
        self.program("uname", "echo Darwin")
        self.program("killall", f"[ -e '{cookies}' ] && echo \"$@\" >>'{told}'; exit 1")
        self.run_script(self.script)
        user = subprocess.run(["id", "-un"], capture_output=True, text=True, check=True).stdout.strip()
        with open(told) as file:
            self.assertEqual(file.read(), f"-u {user} -KILL nsurlstoraged cookied\n")
        self.assertEqual(self.cookies(), [])


if __name__ == "__main__":
    unittest.main(verbosity=2)
