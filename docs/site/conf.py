"""The site, made by scripts/site: the documents of this folder, the interfaces' descriptions out of the headers, and the manual
pages."""

import os
import re

ROOT = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
MADE = os.environ["PLATEN_SITE_MADE"]  # where scripts/site leaves what is made before: Doxygen's XML, manual pages as HTML

with open(os.path.join(ROOT, "CMakeLists.txt"), encoding="utf-8") as file:
    release = re.search(r"project\(platen VERSION ([\d.]+)", file.read()).group(1)
project = "Platen"
author = "the Platen developers"
copyright = author  # no licence has been chosen, so no year either
version = release

extensions = ["sphinx.ext.autodoc", "myst_parser", "breathe", "sphinx_copybutton"]
exclude_patterns = ["site"]
master_doc = "index"
nitpicky = False
myst_heading_anchors = 3
suppress_warnings = ["myst.header"]  # a document that is included begins with its own heading level
highlight_language = "none"
copybutton_exclude = ".linenos, .gp"

html_theme = "furo"
html_title = f"Platen {release}"
html_static_path = ["static"]
html_css_files = ["site.css"]
html_show_copyright = False
html_copy_source = False
html_show_sphinx = False
html_theme_options = {
    "light_css_variables": {"color-brand-primary": "#1a5fb4", "color-brand-content": "#1a5fb4"},
    "dark_css_variables": {"color-brand-primary": "#8cb8f0", "color-brand-content": "#8cb8f0"},
}

breathe_projects = {"c": os.path.join(MADE, "c", "xml"), "cpp": os.path.join(MADE, "cpp", "xml")}
breathe_default_project = "c"
breathe_domain_by_file_pattern = {"*platen.h": "c"}
breathe_show_include = False
autodoc_member_order = "bysource"
autodoc_typehints = "none"


def keep_shape(app, what, name, obj, options, lines):
    """Docstrings are plain text with tables in columns: those stay as they are written."""
    paragraphs, out = [[]], []
    for line in lines:
        if line.strip():
            paragraphs[-1].append(line)
        elif paragraphs[-1]:
            paragraphs.append([])
    for paragraph in paragraphs:
        shaped = [line for line in paragraph if line.startswith("  ") or re.search(r"\S {2,}\S", line)]
        if shaped:
            text = [line for line in paragraph[: paragraph.index(shaped[0])]]
            rest = paragraph[len(text):]
            out += [escaped(line) for line in text] + ["", ".. code-block:: text", "", *["   " + line for line in rest], ""]
        else:
            out += [escaped(line) for line in paragraph] + [""]
    lines[:] = out


def escaped(line):
    return re.sub(r"([*`|\\_])", r"\\\1", line)


def links_outside(app, docname, source):
    """Documents name files of the repository, as its readers see them; those that are pages here are linked as pages."""
    text = source[0]
    included = re.fullmatch(r"```\{include\} \.\./(\S+)\n```\n", text)
    if included:  # a document from elsewhere, whose links are relative to where it lies
        with open(os.path.join(ROOT, included.group(1)), encoding="utf-8") as document:
            text = re.sub(r"\]\((?:\.\./)?docs/", "](", document.read())
    up = "../" * (docname.count("/") + 1)
    for path, page in {"CHANGELOG.md": "changelog.md", "CONTRIBUTING.md": "contributing.md", "bench/README.md": "bench.md"}.items():
        text = text.replace(f"]({up}{path})", f"]({up[3:]}{page})")
    # Of what else lies outside only files can be shown: folders are named.
    text = re.sub(r"\[([^\]]*)\]\(((?:\.\./)+[^)#]*)\)", lambda found: found.group(0) if os.path.isfile(
        os.path.join(os.path.dirname(os.path.join(ROOT, "docs", docname)), found.group(2))) else found.group(1), text)
    source[0] = text
    # Man pages are pages here, too.
    source[0] = re.sub(r" \(\[source\]\((?:\.\./)*man/([\w-]+)\.(\d)\)\)", rf" ([page]({up}manual/\1.\2.md))", source[0])


def setup(app):
    app.connect("autodoc-process-docstring", keep_shape)
    app.connect("source-read", links_outside)
    return {"parallel_read_safe": True}
