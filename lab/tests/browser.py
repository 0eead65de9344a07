"""A browser without a window, for the pages that lab/report makes."""

import contextlib
import shutil
import sys

try:
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
except ImportError:
    webdriver = None


def or_skip():
    """Ends the program with 77 and the reason where there is no browser."""
    missing = [name for name in ("chromium", "chromedriver") if not shutil.which(name)]
    if webdriver is None:
        missing.append("python3-selenium")
    if missing:
        print(f"skipped: no {', '.join(missing)} here: scripts/setup all installs it")
        sys.exit(77)


@contextlib.contextmanager
def browser(width, height):
    """It resolves no name, looks for no updates, and shows nothing but pages of this project. (Its own
    sandbox is refused to root, and in most containers.)"""
    options = webdriver.ChromeOptions()
    options.binary_location = shutil.which("chromium")
    for word in ("--headless=new", "--no-sandbox", "--disable-dev-shm-usage", "--disable-gpu", "--hide-scrollbars",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync", "--no-first-run",
                 "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1", "--force-color-profile=srgb"):
        options.add_argument(word)
    options.set_capability("goog:loggingPrefs", {"browser": "ALL", "performance": "ALL"})
    service = Service(shutil.which("chromedriver"))
    driver = webdriver.Chrome(service=service, options=options)
    try:
        # The size of the page itself, whatever the window has around it.
        driver.execute_cdp_cmd("Emulation.setDeviceMetricsOverride",
                               {"width": width, "height": height, "deviceScaleFactor": 1, "mobile": False})
        yield driver
    finally:
        driver.quit()
