"""What the measurements of the live engine share: servers, members, addresses.

Needs the "app" preset built (script/build app) and what script/bootstrap installs.
"""
import base64
import contextlib
import hmac
import json
import os
import pathlib
import signal
import subprocess
import sys
import tempfile
import time

ROOT = pathlib.Path(__file__).resolve().parent.parent
APP = ROOT / "build" / "app" / "apps" / "vaxolive" / "vaxolive"


@contextlib.contextmanager
def servers():
    """A folder with running servers in it; they end with it."""
    folder = tempfile.mkdtemp(prefix="vaxo-bench-")
    subprocess.run([ROOT / "script/servers", "start", f"{folder}/servers"], check=True,
                   stdout=subprocess.DEVNULL)
    try:
        yield folder
    finally:
        subprocess.run([ROOT / "script/servers", "stop", f"{folder}/servers"], check=False,
                       stdout=subprocess.DEVNULL)


def first_picture(folder, name):
    """Milliseconds from the request to the first picture, as a member's events tell."""
    events = events_of(f"{folder}/{name}.events")
    asked = next(e["ms"] for e in events if e["event"] == "play-start")
    shown = next(e["ms"] for e in events if e["event"] == "play" and e.get("state") == "BEGIN")
    return shown - asked


def events_of(path):
    return [json.loads(line) for line in pathlib.Path(path).read_text().splitlines()]


def wait_for(path, word):
    for _ in range(400):
        if pathlib.Path(path).exists() and word in pathlib.Path(path).read_text():
            return
        time.sleep(0.05)
    sys.exit(f"bench: {word} never came, see {path}")


def end(process):
    process.send_signal(signal.SIGINT)
    process.wait(20)


def vaxolive(folder, name, *words):
    environment = dict(os.environ, VAXO_USER=name)
    return subprocess.Popen(
        [APP, *words, "--channel", "bench", "--config", f"{folder}/servers/servers.env", "--events",
         f"{folder}/{name}.events", "--log", f"{folder}/{name}.log", "--quiet"],
        env=environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL)


def signed_address(folder):
    lines = pathlib.Path(f"{folder}/servers/servers.env").read_text().splitlines()
    setting = dict(line.split("=", 1) for line in lines if "=" in line and line[0] != "#")
    key = bytes.fromhex(pathlib.Path(setting["VAXO_KEY_FILE"]).read_text().strip())
    name = f"{setting['VAXO_APP_ID']}_bench"
    expiry = int(time.time()) + 300
    message = f"play\n{name}\nreader\n{expiry}".encode()
    signature = base64.urlsafe_b64encode(hmac.new(key, message, "sha256").digest()).rstrip(b"=")
    return (f"{setting['VAXO_MEDIA_URL']}/{name}?id={setting['VAXO_APP_ID']}&user=reader"
            f"&exp={expiry}&sig={signature.decode()}")
