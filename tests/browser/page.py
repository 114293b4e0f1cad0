"""A page of `karta-import view` in headless Chromium, as Debian has it."""
import os
import subprocess
import time

from selenium import webdriver
from selenium.webdriver.chrome.options import Options
from selenium.webdriver.chrome.service import Service

HERE = os.path.dirname(os.path.abspath(__file__))
ROOT = os.path.dirname(os.path.dirname(HERE))
PATIENCE = 20.0


def write(program, output, *arguments):
    """Has the program write a page; its name."""
    subprocess.run([program, "view", "--quiet", *arguments, "-o", output], check=True, cwd=ROOT)
    return output


class Browser:
    def __init__(self, width=1600, height=1100, dark=False):
        options = Options()
        for argument in ("--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars",
                         "--disable-background-networking"):
            options.add_argument(argument)
        # Chromium has no sandbox of its own for root.
        if os.geteuid() == 0:
            options.add_argument("--no-sandbox")
        options.set_capability("goog:loggingPrefs", {"browser": "ALL"})
        self.driver = webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)
        self.size(width, height)
        self.theme(dark)

    def size(self, width, height):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                    {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})

    def theme(self, dark):
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"features": [
            {"name": "prefers-color-scheme", "value": "dark" if dark else "light"}]})

    def open(self, page):
        self.driver.get("file://" + os.path.abspath(page))
        self.wait("return document.documentElement.dataset.ready === 'yes'")

    def run(self, script, *arguments):
        return self.driver.execute_script(script, *arguments)

    def wait(self, script, *arguments):
        """Until the script says so; what it said last."""
        end = time.monotonic() + PATIENCE
        while time.monotonic() < end:
            said = self.run(script, *arguments)
            if said:
                return said
            time.sleep(0.02)
        raise AssertionError("waited in vain for: " + script)

    def quit(self):
        self.driver.quit()
