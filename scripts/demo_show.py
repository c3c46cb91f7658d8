"""The demo's output: lines with the time that has passed, tables, and colours on a terminal."""

import os
import re
import subprocess
import sys
import textwrap
import time

BOLD, DIM, RED, GREEN, CYAN, END = ("\033[1m", "\033[2m", "\033[31m", "\033[32m", "\033[36m", "\033[0m")
if not sys.stdout.isatty():
    BOLD = DIM = RED = GREEN = CYAN = END = ""

MARGIN = "         "
WIDTH = 118

start = time.monotonic()


def say(text="", colour=""):
    print(f"{DIM}{time.monotonic() - start:5.1f} s{END}  {colour}{text}{END}", flush=True)


def show(text="", colour=""):
    print(f"{MARGIN}{colour}{text}{END}" if text else "", flush=True)


def table(header, rows, colours=None):
    """Prints a table: columns of numbers aligned to the right, all others to the left."""
    widths = [max(len(str(row[column])) for row in [header, *rows]) for column in range(len(header))]
    numeric = [all(isinstance(row[column], int) for row in rows) for column in range(len(header))]
    for row, colour in zip([header, *rows], [BOLD, *(colours or [""] * len(rows))]):
        cells = [str(cell).rjust(width) if number else str(cell).ljust(width)
                 for cell, width, number in zip(row, widths, numeric)]
        show("   ".join(cells).rstrip(), colour)
    show()


def listing(mark, colour, paths):
    """Prints the paths, as many on a line as fit."""
    text = "  ".join(path.replace(" ", "\0") for path in paths)
    for number, line in enumerate(textwrap.wrap(text, WIDTH - 14, break_long_words=False, break_on_hyphens=False)):
        show(f"    {mark if number == 0 else ' '} {line}".replace("\0", " "), colour)


QUESTION = re.compile(rb"\[y/N[^]]*\] ")


def size(count):
    return f"{count / 1e6:.1f} MB" if count >= 1e6 else f"{count / 1e3:.0f} kB"


def say_command(desk, *words, answers=False):
    """Prints and runs a command of tidewell; with `answers`, each of its questions is answered with yes."""
    say("$ tidewell " + " ".join(words), BOLD)
    if not answers:
        output = desk.tidewell(*words)
    else:
        output = run_with_answers(desk, words)
    for line in output.strip().splitlines():
        show("  " + line.replace(desk.home, "~").rstrip(), CYAN)


def run_with_answers(desk, words):
    """Runs the command in a pseudo-terminal, answers each question with yes, and returns the output."""
    ours, theirs = os.openpty()
    process = subprocess.Popen([desk.program("tidewell"), *words], env=desk.environment, stdin=theirs,
                               stdout=subprocess.PIPE, stderr=subprocess.STDOUT, **desk.identity)
    os.set_blocking(process.stdout.fileno(), False)
    os.close(theirs)
    output = b""

    def has_ended():
        nonlocal output
        ended = process.poll() is not None
        news = process.stdout.read() or b""
        for _ in QUESTION.findall(news):
            os.write(ours, b"y\n")
        output += QUESTION.sub(rb"\g<0>y\n", news)
        return ended

    desk.wait(has_ended, what="the end of tidewell " + " ".join(words))
    process.stdout.close()
    os.close(ours)
    return output.decode()
