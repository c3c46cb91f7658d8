"""Runs a part of a file's tests, so that several parts can run at the same time: part.py 1/3 test_worker.py"""

import importlib
import os
import sys
import unittest


def cases(suite):
    for test in suite:
        if isinstance(test, unittest.TestSuite):
            yield from cases(test)
        else:
            yield test


def main(part, path):
    number, count = (int(text) for text in part.split("/"))
    folder, name = os.path.split(os.path.abspath(path))
    sys.path.insert(0, folder)
    module = importlib.import_module(name.removesuffix(".py"))
    # The tests in their usual order, of which each part takes every `count`th.
    chosen = list(cases(unittest.defaultTestLoader.loadTestsFromModule(module)))[number - 1::count]
    result = unittest.TextTestRunner(verbosity=2).run(unittest.TestSuite(chosen))
    return 0 if chosen and result.wasSuccessful() else 1


if __name__ == "__main__":
    sys.exit(main(*sys.argv[1:]))
