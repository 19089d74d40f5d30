"""What a run came to: JSON for programs, and one page of HTML that needs nothing else."""

from __future__ import annotations

import base64
import collections
import html
import json
import os
import subprocess
import tempfile
from typing import Any, Dict, List, Optional, Tuple

SIDE = 260  # pixels of a thumbnail's height
LISTED = 500  # failures on the page; the JSON has all


def _thumbnail(tool: str, path: str, folder: str) -> Optional[Tuple[str, bytes]]:
    """(type, bytes) of a small picture of the file's first page, made by the tool."""
    common = [tool, "--no-defaults", f"--height={SIDE}", "--shrink-only", "--depth=8", "--page=1", "--strip", "--force"]
    common.append("--threads=1")
    for kind, ending in (("jpeg", ".jpg"), ("png", ".png")):  # JPEG has no alpha
        target = os.path.join(folder, "thumbnail" + ending)
        run = subprocess.run(
            [*common, "--quality=80", "-o", target, "--", path] if kind == "jpeg" else [*common, "-o", target, "--", path],
            stdin=subprocess.DEVNULL,
            stdout=subprocess.DEVNULL,
            stderr=subprocess.DEVNULL,
            check=False,
        )
        if run.returncode == 0:
            with open(target, "rb") as file:
                return kind, file.read()
    return None


def _picture(tool: str, path: str, folder: str, words: str) -> str:
    thumbnail = _thumbnail(tool, path, folder)
    if thumbnail is None:
        return f'<span class="none">{html.escape(words)}: no picture</span>'
    data = base64.b64encode(thumbnail[1]).decode()
    return f'<img alt="{html.escape(words)}" src="data:image/{thumbnail[0]};base64,{data}">'


def contact_sheet(tool: str, source: str, out: str, pages: List[Tuple[str, str]]) -> str:
    parts = []
    with tempfile.TemporaryDirectory(prefix="platen-batch-") as folder:
        for name, output in pages:
            before = _picture(tool, os.path.join(source, name), folder, name + ", before")
            after = _picture(tool, os.path.join(out, output), folder, name + ", after")
            parts.append(f"<figure><div>{before}{after}</div><figcaption>{html.escape(name)}</figcaption></figure>")
    return "\n".join(parts)


STYLE = """
:root { color-scheme: light dark; --line: #8884; --dim: #777; }
body { font: 15px/1.45 system-ui, sans-serif; max-width: 70rem; margin: 2rem auto; padding: 0 1rem; }
h1 { font-size: 1.5rem; margin: 0; } h2 { font-size: 1.1rem; margin: 2rem 0 .6rem; }
p.dim, figcaption, .none { color: var(--dim); }
dl.figures { display: grid; grid-template-columns: repeat(auto-fit, minmax(9rem, 1fr)); gap: .8rem; margin: 1.2rem 0; }
dl.figures div { border: 1px solid var(--line); border-radius: .4rem; padding: .5rem .7rem; }
dl.figures dt { color: var(--dim); font-size: .85rem; } dl.figures dd { margin: 0; font-size: 1.35rem; }
dl.figures div.bad dd { color: #c0392b; }
table { border-collapse: collapse; width: 100%; } th { text-align: left; font-weight: 600; }
th, td { padding: .25rem .8rem .25rem 0; border-bottom: 1px solid var(--line); vertical-align: top; overflow-wrap: anywhere; }
td.number, th.number { text-align: right; font-variant-numeric: tabular-nums; white-space: nowrap; }
pre { border: 1px solid var(--line); border-radius: .4rem; padding: .6rem .8rem; overflow-x: auto; }
.sheet { display: grid; grid-template-columns: repeat(auto-fill, minmax(22rem, 1fr)); gap: 1.2rem; }
figure { margin: 0; } figure div { display: grid; grid-template-columns: 1fr 1fr; gap: .5rem; align-items: start; }
figure img { max-width: 100%; height: auto; border: 1px solid var(--line); }
figcaption { font-size: .85rem; overflow-wrap: anywhere; }
"""


def _figures(report: Dict[str, Any]) -> str:
    pages = report["pages"]
    figures = [
        ("pages done now", f"{pages['done_now']:,}", False),
        ("done before, unchanged", f"{pages['unchanged']:,}", False),
        ("not done", f"{pages['not_done']:,}", pages["not_done"] > 0),
        ("pages a second", f"{report['pages_per_second']:.1f}", False),
        ("megapixels a second", f"{report['megapixels_per_second']:.1f}", False),
        ("time", report["time"], False),
    ]
    rows = (
        f'<div{" class=bad" if bad else ""}><dt>{name}</dt><dd>{value}</dd></div>' for name, value, bad in figures
    )
    return '<dl class="figures">' + "".join(rows) + "</dl>"


def _failures(failures: List[Dict[str, str]]) -> str:
    if not failures:
        return ""
    reasons = collections.Counter(failure["message"] for failure in failures)
    text = f"<h2>Not done: {len(failures):,}</h2>\n<table><tr><th class=number>pages<th>reason</tr>"
    for reason, count in reasons.most_common(20):
        text += f"<tr><td class=number>{count:,}<td>{html.escape(reason)}</tr>"
    text += "</table>\n<p></p><table><tr><th>page<th>reason</tr>"
    for failure in failures[:LISTED]:
        text += f"<tr><td>{html.escape(failure['input'])}<td>{html.escape(failure['message'])}</tr>"
    text += "</table>"
    if len(failures) > LISTED:
        text += f"<p class=dim>The first {LISTED} of {len(failures):,}; the JSON report has all.</p>"
    return text


def _slowest(slowest: List[Dict[str, Any]]) -> str:
    if not slowest:
        return ""
    text = "<h2>Slowest pages</h2>\n<table><tr><th>page<th class=number>seconds<th class=number>megapixels</tr>"
    for page in slowest:
        size = "" if page["pixels"] is None else f"{page['pixels'] / 1e6:.1f}"
        text += f"<tr><td>{html.escape(page['input'])}<td class=number>{page['seconds']:.2f}<td class=number>{size}</tr>"
    return text + "</table>"


def write(report: Dict[str, Any], sheet: str, folder: str) -> str:
    """report.json and report.html, each complete or not there; gives the page's path."""
    page = f"""<!DOCTYPE html>
<html lang="en"><meta charset="utf-8"><meta name="viewport" content="width=device-width">
<title>platen-batch: {html.escape(report['in'])}</title>
<style>{STYLE}</style>
<h1>platen-batch</h1>
<p class="dim">{html.escape(report['in'])} to {html.escape(report['out'])}; {html.escape(report['started'])};
{html.escape(report['version'])}; {report['workers']} workers{"; " + html.escape(report['ended']) if report['ended'] else ""}</p>
{_figures(report)}
{_failures(report['failures'])}
{f'<h2>Before and after, {len(report["sample"])} pages at random</h2><div class="sheet">{sheet}</div>' if sheet else ""}
{_slowest(report['slowest'])}
<h2>Settings</h2>
<pre>{html.escape(report['settings'].strip() or 'none: pages are copied')}</pre>
</html>
"""
    texts = {"report.json": json.dumps(report, indent=2, ensure_ascii=True) + "\n", "report.html": page}
    for name, text in texts.items():
        path = os.path.join(folder, name)
        with open(path + ".part", "w", encoding="utf-8", errors="surrogateescape") as file:
            file.write(text)
        os.replace(path + ".part", path)
    return os.path.join(folder, "report.html")
