"""A headless Chromium, as Debian has it, for a page in a file."""
import json
import os
import sys

MISSING = 77  # what CTest takes for a skipped test

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    from selenium.webdriver.common.by import By
    from selenium.webdriver.common.keys import Keys
except ImportError as error:
    print(f"skipped: {error}; script/bootstrap --report installs what is missing", file=sys.stderr)
    sys.exit(MISSING)
DRIVER = "/usr/bin/chromedriver"
for program in (DRIVER, "/usr/bin/faketime"):
    if not os.access(program, os.X_OK):
        print(f"skipped: there is no {program}; script/bootstrap --report installs it", file=sys.stderr)
        sys.exit(MISSING)


class Browser:
    def __init__(self):
        options = webdriver.ChromeOptions()
        words = ["--headless=new", "--disable-gpu", "--disable-dev-shm-usage", "--hide-scrollbars", "--force-color-profile=srgb",
                 "--disable-extensions", "--disable-background-networking", "--lang=en"]
        if os.geteuid() == 0:
            words.append("--no-sandbox")  # root's processes cannot be put into one
        for word in words:
            options.add_argument(word)
        options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
        self.driver = webdriver.Chrome(service=Service(DRIVER), options=options)

    def close(self):
        self.driver.quit()

    def size(self, width, height=900):
        self.driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                                    {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})

    def media(self, kind="", **features):
        listed = [{"name": name.replace("_", "-"), "value": value} for name, value in features.items()]
        self.driver.execute_cdp_cmd("Emulation.setEmulatedMedia", {"media": kind, "features": listed})

    def open(self, file):
        self.messages()
        self.requests()
        self.driver.get(file.as_uri())

    def run(self, script, *values):
        return self.driver.execute_script(script, *values)

    def press(self, *keys):
        """As somebody does, wherever the focus is."""
        for key in keys:
            self.driver.switch_to.active_element.send_keys(key)

    def messages(self):
        return [entry["message"] for entry in self.driver.get_log("browser")]

    def requests(self):
        """What was asked for since the last call."""
        logged = [json.loads(entry["message"])["message"] for entry in self.driver.get_log("performance")]
        return [entry["params"]["request"]["url"] for entry in logged if entry["method"] == "Network.requestWillBeSent"]
