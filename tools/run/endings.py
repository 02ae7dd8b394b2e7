"""The endings that a run can be led to, and how the records show that one was reached."""

import dataclasses

import stage


@dataclasses.dataclass(frozen=True)
class Ending:
    summary: str
    portal_options: tuple = ()
    applications: tuple = ()  # on the image
    online: bool = True
    screen: str = ""  # the log's message for the screen on which the run waits for the user
    messages: tuple = ()  # parts of messages that the log must hold, in this order
    events: tuple = ()  # of the analytics that must have arrived
    arguments: tuple = None  # of the installer; None: it must not have run
    opens_link: bool = False
    requests: tuple = ("GET /config.json",)  # that the portal must have seen, in this order, and no others

    def missing(self, seen):
        """What the records should show and do not."""
        problems = []
        rest = iter(seen.messages)
        problems += [f"the message '{part}'" for part in self.messages if not any(part in message for message in rest)]
        if tuple(seen.events()) != self.events:
            problems.append(f"the analytics {list(self.events)}; they were {seen.events()}")
        given = None if seen.installer_arguments is None else tuple(seen.installer_arguments)
        if given != self.arguments:
            problems.append(f"the installer's arguments {self.arguments}; they were {given}")
        if self.opens_link != (len(seen.opened) == 1):
            problems.append("one opened address" if self.opens_link else "no opened address")
        made = tuple(f"{request['method']} {request['target']}" for request in seen.requests)
        if made != self.requests:
            problems.append(f"the requests {list(self.requests)}; they were {list(made)}")
        if seen.status != 0:
            problems.append(f"the exit status 0; it was {seen.status}")
        return problems


_START, _END = ("Start", None), ("End", None)
_CONFIG, _CONFIG_FAILED = ("Config", "PASS"), ("Config", "FAIL")
_DOWNLOAD, _DOWNLOAD_FAILED = ("Download", "PASS"), ("Download", "FAIL")
_LINK_REQUESTS = ("GET /config.json", "POST /analytics")
_IMAGE_REQUESTS = ("GET /config.json", "GET /download/Installer.dmg", "POST /analytics")
_ERROR_SCREEN = "Show generic error screen."

ENDINGS = {
    "install": Ending(
        "the installer on the image runs", ("--ending", "install"), ("Setup",),
        messages=("start.", "Download completed", "Return value: 1", "detach /Volumes/Sample Setup", "end."),
        events=(_START, _CONFIG, _DOWNLOAD, _END), arguments=(stage.ARGUMENT,), requests=_IMAGE_REQUESTS),
    "open-link": Ending(
        "the download screen offers a link", ("--ending", "open-link"),
        screen="Show generic download screen.", messages=("Show generic download screen.",),
        events=(_START, _CONFIG, _END), requests=_LINK_REQUESTS),
    "no-internet": Ending(
        "the machine has no route", ("--ending", "config-error"), online=False,
        screen="Show NoInternet screen", messages=("Show NoInternet screen",), requests=()),
    "config-error": Ending(
        "the configuration is no JSON", ("--ending", "config-error"), screen=_ERROR_SCREEN,
        messages=("Config successful", "Config parse error. Error: (null)", _ERROR_SCREEN)),
    "http-404": Ending(
        "the image is not there", ("--ending", "http-404"), screen=_ERROR_SCREEN,
        messages=("HTTP Response with status code 404", _ERROR_SCREEN),
        events=(_START, _CONFIG, _DOWNLOAD_FAILED, _END), requests=_IMAGE_REQUESTS),
    "bad-image": Ending(
        "the image is garbage", ("--ending", "bad-image"), screen=_ERROR_SCREEN,
        messages=("DMG mount error. Please check the contents of DMG file from config.", _ERROR_SCREEN),
        events=(_START, _CONFIG, _DOWNLOAD, _CONFIG_FAILED, _END), requests=_IMAGE_REQUESTS),
    "two-apps": Ending(
        "the image holds two applications", ("--ending", "two-apps"), ("Setup", "Uninstall"), screen=_ERROR_SCREEN,
        messages=("Executable error: No/More than one executable", _ERROR_SCREEN),
        events=(_START, _CONFIG, _DOWNLOAD, _CONFIG_FAILED, _END), requests=_IMAGE_REQUESTS),
}

_AUTO_OPEN = Ending(
    "the link opens by itself", ("--ending", "open-link", "--auto-open"), messages=("end.",),
    events=(_START, _CONFIG, _END), opens_link=True, requests=_LINK_REQUESTS)


def chosen(name, auto_open):
    return _AUTO_OPEN if auto_open else ENDINGS[name]
