"""Pictures of the remote page for the README, at phone and desktop sizes, in headless Chromium
against a slave on velto-sim, inside a private network namespace (the rig of the browser tests).

Usage: remote_page.py --velto PATH --sim PATH --out DIR"""

import argparse
import base64
import os
import sys

sys.path.insert(0, os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "..", "tests", "browser"))
import rig  # noqa: E402
from rig import wait_until  # noqa: E402

FAVOURITES = (";firmware=2106\n"
              "Warm up,30,120,10,1,Continuous,20,20,40,50,L\n"
              "Slow wave,45,180,15,1,Wave,35,30,60,55,L\n"
              "Evening pulse,60,300,20,0,Pulse,45,40,50,60,H\n")


def shoot(driver, path):
    with open(path, "wb") as out:
        out.write(base64.b64decode(driver.execute_cdp_cmd("Page.captureScreenshot", {"format": "png"})["data"]))
    print(path)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--velto", required=True)
    parser.add_argument("--sim", required=True)
    parser.add_argument("--out", required=True)
    args = parser.parse_args()
    out = os.path.abspath(args.out)
    rig.enter_private_network()
    setup = rig.Rig(args.velto, args.sim, FAVOURITES)
    try:
        # A box in use: levels set (checks off for the set-up only), a mode and a move under way.
        for line in ("M5", ";CHECKS=OFF", "C60", "D55", "A24", "B22", ";CHECKS=ON"):
            setup.get(line)
        driver = setup.driver
        driver.get(rig.PAGE_URL)
        wait_until(lambda: driver.find_element("id", "level-A").text == "24", 15, "the box on the page")
        wait_until(lambda: driver.find_elements("css selector", "#favs .name"), 10, "the favourites")
        driver.execute_script("""
            const slider = document.getElementById('slider-A');
            slider.value = 40;
            slider.dispatchEvent(new Event('input'));
            slider.dispatchEvent(new Event('change'));""")
        wait_until(lambda: int(driver.find_element("id", "level-A").text) >= 27, 15, "the move under way")

        rig.viewport(driver, 1280, 1000)
        shoot(driver, os.path.join(out, "remote-page-desktop.png"))
        rig.viewport(driver, 390, 844, 2, mobile=True)
        wait_until(lambda: driver.execute_script("return innerWidth") == 390, 5, "the phone's width")
        shoot(driver, os.path.join(out, "remote-page-phone.png"))
    finally:
        setup.close()


if __name__ == "__main__":
    main()
