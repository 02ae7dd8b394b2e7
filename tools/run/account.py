"""What a run left behind: read, and written for people."""

import json
import re

MESSAGE = re.compile(r'"trace": "(\w+)", "message":(?:" (.*)"| (.*)), "lang": ', re.DOTALL)


def log_entries(path):
    """(level, message) of each entry of the event log, in order."""
    text = path.read_bytes().decode(errors="replace") if path.exists() else ""
    found = [MESSAGE.search(line) for line in text.split("\r\n") if line]
    return [(entry[1], entry[2] if entry[2] is not None else entry[3]) for entry in found if entry]


def log_messages(path):
    return [message for _, message in log_entries(path)]


def lines_of(path):
    return path.read_text().splitlines() if path.exists() else []


class Seen:
    """The run's own records."""

    def __init__(self, stage, status):
        self.status = status
        self.entries = log_entries(stage.log_path)
        self.messages = [message for _, message in self.entries]
        self.requests = [json.loads(line) for line in lines_of(stage.record)]
        self.opened = lines_of(stage.home / "opened-addresses")
        note = lines_of(stage.home / "installer-arguments")
        self.installer_arguments = note[1:] if note else None
        self.analytics = [line for request in self.requests if request["method"] == "POST"
                          for line in request["body"].split("\r\n")]

    def events(self):
        """(name, result) of each analytics line that reached the portal."""
        events = [json.loads(line.split(" ", 2)[2]) for line in self.analytics]
        return [(event["EVT"], event.get("RSLT")) for event in events]

    def text(self):
        parts = ["Event log:"]
        parts += [f"  {level:5} {message}" for level, message in self.entries]
        parts.append("Requests that the portal saw:")
        for request in self.requests:
            parts.append(f"  {request['method']} {request['target']} -> {request['status']}")
            parts += [f"    {name}: {value}" for name, value in request["headers"]]
        parts.append("Arguments that the installer on the image got:")
        if self.installer_arguments is None:
            parts.append("  (it did not run)")
        else:
            parts += [f"  [{argument}]" for argument in self.installer_arguments] or ["  (none)"]
        if self.opened:
            parts += ["Addresses that were opened:"] + [f"  {address}" for address in self.opened]
        parts.append("Analytics lines that arrived:")
        parts += [f"  {line}" for line in self.analytics] or ["  (none)"]
        parts.append(f"Exit status: {'none, it had to be stopped' if self.status is None else self.status}")
        return "\n".join(parts)
