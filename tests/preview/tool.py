"""Running the project's tools from a test."""
import os
import subprocess
import unittest

SOURCE = os.path.abspath(os.path.join(os.path.dirname(__file__), "..", ".."))
VIEW = SOURCE + "/tools/view"
NO_VIEW = 77


def run(*words, **options):
    """The finished process, its output as text."""
    options.setdefault("timeout", 200)
    return subprocess.run(words, capture_output=True, text=True, errors="surrogateescape", check=False,
                          stdin=subprocess.DEVNULL, **options)


def shell(text, *options, kind="overlay", tool=VIEW, before=(), **more):
    """Runs `text` by bash in a view. Skips the test where this kind of view is refused."""
    environment = dict(os.environ)
    environment.pop("BRINDLE_VIEW_KIND", None)
    if kind:
        environment["BRINDLE_VIEW_KIND"] = kind
    result = run(*before, tool, *options, "--", "/bin/bash", "-c", text, env=environment, **more)
    if result.returncode == NO_VIEW and "so there is no private view" in result.stderr:
        raise unittest.SkipTest(result.stderr.strip())
    return result


def without(*capabilities):
    """The start of a command that runs the rest without these rights."""
    dropped = ",".join("-" + name for name in capabilities)
    return ["setpriv", "--bounding-set=" + dropped, "--inh-caps=" + dropped]
