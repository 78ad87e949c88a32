"""The remote page in Chromium against a headless slave on velto-sim: it loads and shows the box,
slider moves reach the box safely, STOP stops, the page follows the box, it fits a phone, and a
dropped link shows. Usage: remote_page_test.py --velto PATH --sim PATH"""

import argparse
import os
import sys
import unittest

sys.path.insert(0, os.path.dirname(os.path.abspath(__file__)))
import rig  # noqa: E402
from rig import wait_until  # noqa: E402


def levels(commands, letter):
    return [int(c[1:]) for c in commands if c[:1] == letter and c[1:].isdigit()]


class RemotePage(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.rig = rig.Rig(ARGS.velto, ARGS.sim)
        cls.driver = cls.rig.driver
        cls.driver.get(rig.PAGE_URL)

    @classmethod
    def tearDownClass(cls):
        with open(cls.rig.log) as log:  # shown by ctest when a test fails
            print("--- slave log ---\n" + log.read()[-6000:], file=sys.stderr)
        cls.rig.close()

    def text(self, element_id):
        return self.driver.find_element("id", element_id).text

    def shown(self, element_id, expected, timeout=5):
        wait_until(lambda: self.text(element_id) == expected, timeout, f"#{element_id} to show {expected!r}")

    def link_is(self, state, timeout=10):
        link = self.driver.find_element("id", "link")
        wait_until(lambda: link.get_attribute("data-state") == state, timeout, f"the link to be {state}")

    def drag(self, channel, values, gap_ms=0):
        """A slider dragged through `values`, an input event every `gap_ms`, then let go."""
        self.driver.execute_async_script("""
            const [id, values, gap, done] = arguments;
            const slider = document.getElementById(id);
            (function step(i) {
              if (i === values.length) { slider.dispatchEvent(new Event('change')); return done(); }
              slider.value = values[i];
              slider.dispatchEvent(new Event('input'));
              setTimeout(step, gap, i + 1);
            })(0);""", f"slider-{channel}", values, gap_ms)

    def test_1_the_page_loads_and_shows_the_box(self):
        self.assertEqual(self.driver.title, "Velto remote")
        self.link_is("ok")
        for element_id, expected in [("battery", "50%"), ("mode-name", "Pulse"), ("power-name", "Low"),
                                     ("level-A", "0"), ("level-C", "50")]:
            self.shown(element_id, expected)
        wait_until(lambda: self.driver.find_elements("css selector", "#favs .name"), 5, "favourites")
        self.assertIn("Slow wave\nA 12 · B 10 · Wave", self.text("favs"))

    def test_2_slider_moves_reach_the_box_safely_and_stop_stops_them(self):
        # Forty input events in a second, within the jump limit: a few commands, the last value.
        start = len(self.rig.commands())
        self.drag("A", [1 + i % 5 for i in range(40)], 25)
        wait_until(lambda: levels(self.rig.commands()[start:], "A")[-1:] == [5], 5, "A5 at the box")
        self.assertLessEqual(len(levels(self.rig.commands()[start:], "A")), 8)
        # A jump beyond the limit is not refused ("S"): the box is moved there a level at a time.
        start = len(self.rig.commands())
        self.drag("A", [25])
        self.shown("target-A", "→ 25")
        wait_until(lambda: "Moving" in self.text("progress-text"), 5, "the move to show")
        wait_until(lambda: max(levels(self.rig.commands()[start:], "A"), default=0) >= 8, 10, "the move")
        steps = levels(self.rig.commands()[start:], "A")
        self.assertTrue(all(0 <= b - a <= 1 for a, b in zip([5] + steps, steps)), steps)
        self.assertNotIn("S", self.rig.commands())
        # STOP: "K", and nothing climbs again for three polls, longer than a step of the move.
        self.driver.find_element("id", "stop").click()
        wait_until(lambda: "K" in self.rig.commands()[start:], 5, "K at the box")
        self.shown("level-A", "0")
        self.shown("target-A", "")
        stopped = len(self.rig.commands())
        wait_until(lambda: self.rig.commands()[stopped:].count("V") >= 3, 6, "three polls")
        self.assertEqual([c for c in self.rig.commands()[stopped:] if c[:1] in "AB"], [])

    def test_3_the_page_follows_the_box(self):
        # Changed behind the page's back, by another client of the slave.
        self.rig.get("M5")
        self.rig.get("B4")
        self.shown("mode-name", "Wave")
        self.shown("level-B", "4")
        self.assertIn("Rate change", self.text("channels"))  # what setting C means in Wave
        # And from the page: power, and a setting stepped within the jump limit.
        self.driver.find_element("id", "power-H").click()
        self.shown("power-name", "High")
        start = len(self.rig.commands())
        self.drag("C", [70])
        self.shown("level-C", "70", 10)
        steps = levels(self.rig.commands()[start:], "C")
        self.assertTrue(all(0 <= b - a <= 5 for a, b in zip([50] + steps, steps)), steps)

    def test_4_it_fits_a_phone(self):
        rig.viewport(self.driver, 390, 844, 3, mobile=True)
        self.driver.refresh()
        self.link_is("ok")
        layout = self.driver.execute_script("""
            const stop = document.getElementById('stop').getBoundingClientRect();
            const sizes = [...document.querySelectorAll('button, input, select')]
                .map((e) => e.getBoundingClientRect()).map((r) => Math.min(r.width, r.height));
            const fonts = [...document.querySelectorAll('body *')].filter((e) => e.offsetWidth)
                .map((e) => parseFloat(getComputedStyle(e).fontSize));
            return [document.documentElement.scrollWidth - innerWidth, innerHeight - stop.bottom,
                    stop.height, Math.min(...sizes), Math.min(...fonts)];""")
        rig.viewport(self.driver, 1280, 900)
        overflow, below_stop, stop_height, smallest_target, smallest_font = layout
        self.assertLessEqual(overflow, 0, "the page scrolls sideways")
        self.assertGreaterEqual(below_stop, 0, "STOP is off the screen")
        self.assertGreaterEqual(stop_height, 60)
        self.assertGreaterEqual(smallest_target, 44)
        self.assertGreaterEqual(smallest_font, 12)

    def test_5_a_dropped_link_shows_and_comes_back(self):
        self.link_is("ok")
        self.rig.stop_slave()
        self.link_is("down", 4)
        self.assertEqual(self.text("link"), "No link to the box server")
        self.assertFalse(self.driver.find_element("id", "slider-A").is_enabled())
        self.assertTrue(self.driver.find_element("id", "stop").is_enabled())
        self.rig.start_slave()
        self.link_is("ok")
        self.assertTrue(self.driver.find_element("id", "slider-A").is_enabled())


if __name__ == "__main__":
    parser = argparse.ArgumentParser()
    parser.add_argument("--velto", required=True)
    parser.add_argument("--sim", required=True)
    ARGS, rest = parser.parse_known_args()
    rig.enter_private_network()
    unittest.main(argv=[sys.argv[0], *rest], verbosity=2)
