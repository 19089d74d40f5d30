"""Reads survivors.txt: a file's name, below it a line of the file, below that mutations, below them why they survive."""

import os


def read_survivors(path):
    explained = {}
    if not os.path.exists(path):
        return explained
    name = source = ""
    waiting = []
    with open(path) as file:
        for line in file.read().splitlines():
            text = line.strip()
            depth = len(line) - len(line.lstrip())
            if not text or text.startswith("#"):
                continue
            if depth == 0:
                name = text
            elif depth == 2:
                source = text
            elif depth == 4:
                waiting.append((name, source, text))
            else:
                for entry in waiting:
                    explained[entry] = explained.get(entry, "") + text + " "
                waiting = [] if not text.endswith("\\") else waiting
    return explained
