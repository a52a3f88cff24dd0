#!/usr/bin/env python3
"""Writes a configuration file of a given kind and size, for PlugSetter or, with --git, for `git config --file`."""

import argparse
import itertools
import pathlib
import random
import re

KINDS = """
kinds:
  lines     SIZE lines of a usual configuration, whose keys repeat as often as it takes
  repeated  the same, up to SIZE bytes
  distinct  every key that a name with three digits can express, once, in no order, all together up to SIZE bytes
  value     a usual configuration with one value of nearly SIZE bytes
  comments  a usual configuration after nearly SIZE bytes of comments
"""
KEY_TABLE = pathlib.Path(__file__).resolve().parent.parent / "Mis" / "TaskOptions.cpp"
PROSE = "nightly jobs go to the first vault, weekly jobs to the second one, monthly copies to the archive by line, "
LINE_ROOM = 78
FIRST_OF_A_THOUSAND = 30000  # smaller numbers leave no room for an index of three digits


class PlugSetterSyntax:
    line_end = "\r\n"
    comment = "// "
    header = ["BuildVersion = 6.50.1804", "QXCVersion = 650", "Type = 1"]

    @staticmethod
    def section(name, keys):
        parts = name.split(".") if name else []
        lines = [part + " {" for part in parts]
        for key, value in keys:
            pieces = split(f"{key} = {value}")
            lines += [piece + '"-' for piece in pieces[:1]] + ['"' + piece + '"-' for piece in pieces[1:]]
            lines[-1] = lines[-1][:-2]
        return lines + ["}"] * len(parts)


class GitSyntax:
    line_end = "\n"
    comment = "# "
    header = []

    @staticmethod
    def section(name, keys):
        lines = [f"[{(name or 'general').replace('.', '-')}]"]
        for key, value in keys:
            lines += [piece + "\\" for piece in split(f"{key.replace('_', '')} = {value}")]
            lines[-1] = lines[-1][:-1]
        return lines


def split(line):
    return [line[at:at + LINE_ROOM] for at in range(0, len(line), LINE_ROOM)]


def prose(length):
    return (PROSE * (length // len(PROSE) + 1))[:length].strip()


def usual_sections():
    """The sections of a usual configuration: a dotted name and the keys."""
    yield "", [("AgentName", "node01.example.com"), ("Data_Directory", "/var/lib/agent01/data"), ("Priority", "8")]
    yield "BandwidthThrottling", [("DOW", "Mon,Tue,Wed,Thu,Fri"), ("EndTime", "18:30"), ("Usage", "40")]
    yield "Notification", [("FromAddress", "agent@example.com"), ("MailOnError", "TRUE"), ("SMTP_Server_Port", "25")]
    for n in range(3):
        yield f"Server{n}", [("Name", f"vault{n}"), ("Net_Address", f"vault{n}.example.com"), ("Transport", "TCP"),
                             ("Password", "6A1F00C94D7722E1"), ("Reconnect_Attempts", "180"), ("Encrypted", "TRUE")]
    for n in range(4):
        yield f"Retention{n}", [("Name", f"Scheme {n}"), ("Online_Days", "365"), ("Archive_Days", "0")]
    for n, code in enumerate(("CLUSTER", "VMWARE")):
        yield f"Plugin{n}", [("Code", code), ("Name", "Virtual servers"), ("License", "DEMO-0000-1111-2222")]


def distinct_sections(size):
    fields = {}
    for number, family, field in re.findall(r'{(\d+), .*"([\w.]+)%%%\.(\w+)", .*"#S"', KEY_TABLE.read_text()):
        if int(number) >= FIRST_OF_A_THOUSAND:
            fields.setdefault(family, []).append(field)
    sections = [(family, n) for family in fields for n in range(1000)]
    random.Random(1).shuffle(sections)
    room = size // (1000 * sum(map(len, fields.values())))
    value = prose(room - room // 20 - 40)
    for family, n in sections:
        yield f"{family}{n:03}", [(field, value) for field in fields[family]]


def usual(syntax, limit, measure):
    """The header, then whole sections repeated while they stay within `limit`; and how much of that is left."""
    lines = list(syntax.header)
    rounds = [syntax.section(*section) for section in usual_sections()]
    limit -= sum(map(measure, lines))
    for section in itertools.cycle(rounds):
        size = sum(map(measure, section))
        if size > limit:
            return lines, limit
        limit -= size
        lines += section


def generate(kind, size, syntax):
    if kind == "lines":
        lines, left = usual(syntax, size, lambda line: 1)
        return lines + [syntax.comment + "end"] * left
    if kind == "repeated":
        return usual(syntax, size, lambda line: len(line) + len(syntax.line_end))[0]
    if kind == "distinct":
        sections = (syntax.section(*section) for section in distinct_sections(size))
        return itertools.chain(syntax.header, *sections)
    few = generate("lines", 200, syntax)
    if kind == "value":
        return few + syntax.section("", [("Description", prose(size - size // 16))])
    comment = syntax.comment + prose(LINE_ROOM - len(syntax.comment))
    return [comment] * ((size - 8192) // (LINE_ROOM + len(syntax.line_end))) + few


def main():
    parser = argparse.ArgumentParser(description=__doc__, epilog=KINDS,
                                     formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("kind", choices=["lines", "repeated", "distinct", "value", "comments"])
    parser.add_argument("size", type=int)
    parser.add_argument("file", type=pathlib.Path)
    parser.add_argument("--git", action="store_true")
    options = parser.parse_args()
    syntax = GitSyntax() if options.git else PlugSetterSyntax()
    with options.file.open("w", newline="") as file:
        file.writelines(line + syntax.line_end for line in generate(options.kind, options.size, syntax))


if __name__ == "__main__":
    main()
