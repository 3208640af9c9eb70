"""The report of a delivery: one page with a row for each character, whole in one file."""
import base64
import json
import os
from html import escape
from urllib.parse import quote

RESULTS = {"convert": ".fbx", "picture": ".svg", "view": ".html"}  # of the steps, in their order
SEVERITIES = ("error", "warning", "note")
MOST_LINES = 50  # of a step's messages and of findings; the files have them all

STYLE = """
body { font: 14px/1.4 sans-serif; margin: 2em; color: #222 }
table { border-collapse: collapse }
th, td { text-align: left; vertical-align: top; padding: .5em .8em; border-top: 1px solid #ccc }
td.number { text-align: right; white-space: nowrap }
img { width: 300px; display: block }
pre { min-width: 25em }
.error, .failed { color: #a40000 } .warning { color: #8f5902 } .note { color: #666 }
.good { color: #2e6b00 }
ul, pre { margin: .3em 0; padding-left: 1.2em; white-space: pre-wrap; overflow-wrap: anywhere }
"""


def write(delivery):
    """Writes the page from what is built; a name in it leads to the file beside it."""
    rows = [Row(delivery, name) for name in sorted(delivery.characters)]
    rows.sort(key=lambda row: row.is_built)  # what needs a look stands first
    failed = sum(not row.is_built for row in rows)
    summary = f"{counted(len(rows), 'character')}, {len(rows) - failed} built, {failed} failed"
    for severity in SEVERITIES[:2]:
        count = sum(row.counts.get(severity, 0) for row in rows)
        summary += f", {counted(count, severity)} found"
    left_out = "".join(f"<li>{text(model)}</li>" for model in delivery.left_out)
    if left_out:
        left_out = f"<h2>Left out: models without a mapping, mappings without a model</h2><ul>{left_out}</ul>"
    page = (
        f'<!DOCTYPE html>\n<html lang="en"><head><meta charset="utf-8"><title>Delivery</title>\n'
        f"<style>{STYLE}</style></head><body><h1>Delivery {text(delivery.source)}</h1>\n"
        f"<p>{summary}</p>\n<table>\n<tr><th>picture</th><th>character</th><th>findings</th>"
        f"<th>model</th><th>FBX</th><th>files</th></tr>\n"
        + "\n".join(row.html() for row in rows)
        + f"\n</table>\n{left_out}</body></html>\n"
    )
    delivery.into.mkdir(parents=True, exist_ok=True)
    part = delivery.into / "index.html.part"
    part.write_text(page, encoding="utf-8", errors="replace")
    part.replace(delivery.into / "index.html")


class Row:
    """One character."""

    def __init__(self, delivery, name):
        self._folder = delivery.into
        self._name = name
        self._character = delivery.characters[name]
        self._answer = self._read_answer()
        self.counts = self._answer.get("counts", {})
        self.is_built = all(self._is_current(end) for end in RESULTS.values())

    def html(self):
        cells = [
            f"<td>{self._picture()}</td>",
            f"<td>{text(self._name)}<br>{self._state()}</td>",
            f"<td>{self._findings()}</td>",
            f'<td class="number">{size(self._character.model)}</td>',
            f'<td class="number">{size(self._path(".fbx"))}</td>',
            f"<td>{self._links()}</td>",
        ]
        return f"<tr>{''.join(cells)}</tr>"

    def _is_current(self, suffix):
        """Whether there is such a file, and not one that is left from before a failure."""
        is_made_of_fbx = suffix in (".svg", ".html")
        return self._path(suffix).exists() and (not is_made_of_fbx or self._path(".fbx").exists())

    def _path(self, suffix):
        return self._folder / (self._name + suffix)

    def _read_answer(self):
        try:
            return json.loads(self._path(".check.json").read_text(encoding="utf-8"))
        except (OSError, ValueError):
            return {}

    def _picture(self):
        if not self._is_current(".svg"):
            return ""
        data = base64.b64encode(self._path(".svg").read_bytes()).decode()
        name = text(self._name)
        image = f'<img src="data:image/svg+xml;base64,{data}" alt="{name}" loading="lazy">'
        return f'<a href="{self._link(".html")}">{image}</a>'

    def _state(self):
        if self.is_built:
            return '<span class="good">built</span>'
        state = '<span class="failed">failed</span>'
        for step, result in RESULTS.items():
            log = self._folder / "logs" / f"{self._name}.{step}.txt"
            if log.exists() and not self._is_current(result):
                lines = log.read_text(encoding="utf-8", errors="replace").splitlines()
                message = "\n".join(lines[-MOST_LINES:])
                return f"{state} in {step}<pre>{text(message)}</pre>"
        return f"{state}: it was not tried"

    def _findings(self):
        if not self._answer:
            return '<span class="failed">not checked</span>'
        counts = ", ".join(
            f'<span class="{severity}">{counted(self.counts[severity], severity)}</span>'
            for severity in SEVERITIES
            if self.counts.get(severity)
        )
        if not counts:
            return '<span class="good">none</span>'
        findings = sorted(
            self._answer["findings"], key=lambda finding: SEVERITIES.index(finding["severity"])
        )
        items = "".join(
            f'<li><span class="{finding["severity"]}">{finding["code"]}</span>: {text(told(finding))}</li>'
            for finding in findings[:MOST_LINES]
        )
        more = len(findings) - MOST_LINES
        if more > 0:
            items += f"<li>and {more} more</li>"
        return f"<details><summary>{counts}</summary><ul>{items}</ul></details>"

    def _links(self):
        files = {".html": "page", ".fbx": "FBX", ".svg": "picture", ".check.json": "findings"}
        links = [
            f'<a href="{self._link(suffix)}">{name}</a>'
            for suffix, name in files.items()
            if self._is_current(suffix)
        ]
        return "<br>".join(links)

    def _link(self, suffix):
        return escape(quote(self._name + suffix))


def told(finding):
    """A finding in one line, its place first."""
    where = finding.get("where") or {}
    place = where.get("file") or ""
    if place and where.get("line"):
        place += f":{where['line']}:{where['column']}"
    name = finding["place"]["name"]
    about = f"{finding['place']['kind']} {name}" if name else finding["place"]["kind"]
    start = f"{place}: {about}" if place else about
    details = [finding[key] for key in ("text", "advice") if finding.get(key)]
    return f"{start}: {finding['summary']}" + (f" ({'; '.join(details)})" if details else "")


def size(file):
    try:
        count = os.stat(file).st_size
    except OSError:
        return ""
    for unit in ("bytes", "kB", "MB"):
        if count < 1000:
            return f"{count:.0f} {unit}"
        count /= 1000
    return f"{count:.1f} GB"


def counted(count, word):
    return f"{count} {word}{'' if count == 1 else 's'}"


def text(value):
    return escape(str(value))
