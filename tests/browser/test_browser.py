#!/usr/bin/python3
"""The tap's web page in headless Chromium (inside scripts/netns-run.sh) while
the simulator loops DD+, DD+ with a NaN position and ED2, then stops decoding
and selects Dolby Preset: state, table cells, object and bed markers per ED2
presentation, the banner of the cut document, reconnection after the tap
restarts; saves a screenshot of the ED2 view. Exit 0 passed, 1 failed, 77 skipped.
"""
import argparse, json, os, signal, socket, subprocess, sys, tempfile, time

PORT = 8080
# The scenario's names of the DD+ object classes, by their codes.
DIALOGUE_CODE = {"dialogue": 1, "not-dialogue": 2, "mixed": 3}
STEPS = [{"label": "ddp", "use": "ddp", "hold": 2},
         {"label": "nan", "use": "ddp", "hold": 1, "record": {"ddp": {"objects": [None, {"x": "nan"}]}}},
         {"label": "ed2", "use": "ed2", "hold": 4}]
STOP_AT, PRESET_AT = 25, 27  # seconds: decode stop, then Dolby Preset


def expected(scenarios, build):
    """Markers and table values the page must show, from the built-in scenarios
    and the catalogue of texts the build writes."""
    tables = {t["id"]: t["texts"] for t in json.load(open(os.path.join(build, "catalogue.json")))["tables"]}
    speakers = tables["SpeakerTypes"][1:]
    ddp = json.load(open(os.path.join(scenarios, "ddp.json")))["record"]["ddp"]
    ed2 = json.load(open(os.path.join(scenarios, "ed2.json")))["record"]["ed2"]
    names = lambda flags: [speakers[i] for i, f in enumerate(flags) if f]
    # Documents carry x as 2x - 1 and y as 1 - 2y of the record's 0..1 values.
    pos = lambda p: (round(2 * p[0] - 1, 6), round(1 - 2 * p[1], 6), round(p[2], 6))
    dd = {"objects": [pos((o["x"], o["y"], o["z"])) for o in ddp["objects"][:ddp["numDynObjects"]]],
          "classes": [tables["ObjectClasses"][DIALOGUE_CODE[o["dialogueClass"]]] for o in ddp["objects"][:ddp["numDynObjects"]]],
          "beds": names(ddp["bedChannels"]), "cell": ("AtmosInfo.NumDynObjects", str(ddp["numDynObjects"]))}
    presentations = []
    for pa in ed2["presentations"]:
        objects = [pos(o["position"][pa["objectSetIndex"][i]]) for i, o in enumerate(ed2["dynamicObjects"])
                   if pa["objectIncluded"][i]]
        beds = [n for j, b in enumerate(ed2["bedObjects"]) if pa["bedIncluded"][j] for n in names(b["speakerPresent"])]
        presentations.append({"name": pa["name"], "objects": objects, "beds": beds})
    return dd, presentations, ("StatusInfo.ExData[0].MetadataID", str(ed2["metadataId"]))


READ_PAGE = """
const marks = [...document.querySelectorAll('#room-marks g')];
const cell = (k) => { const c = document.querySelector(`#doc-status td[data-key="${k}"]`); return c ? c.textContent : null; };
return {state: document.getElementById('state').textContent, event: document.getElementById('event').textContent,
        what: document.getElementById('status-what').textContent, link: document.getElementById('link').textContent,
        history: document.getElementById('history').children.length, cell: cell(arguments[0]),
        objects: marks.filter((g) => g.dataset.kind === 'object').map((g) => [+g.dataset.x, +g.dataset.y, +g.dataset.z]),
        classes: marks.filter((g) => g.dataset.kind === 'object').map((g) => g.dataset.cls),
        beds: marks.filter((g) => g.dataset.kind === 'bed').map((g) => g.dataset.name),
        banner: [...document.querySelectorAll('#banners div')].map((b) => b.dataset.topic + ': ' + b.textContent).join('\\n')};
"""


class Run:
    def __init__(self, build):
        self.build, self.procs, self.tmp = build, {}, tempfile.mkdtemp(prefix="plovrest-browser.")

    def start(self, name, *args):
        log = open(os.path.join(self.tmp, name + ".log"), "w")
        self.procs[name] = subprocess.Popen(list(args), stdout=log, stderr=subprocess.STDOUT)

    def start_tap(self):
        self.start("tap", f"{self.build}/tools/plovrest-tap", "--http", str(PORT), "--view", "summary")
        wait_for(lambda: socket.socket().connect_ex(("127.0.0.1", PORT)) == 0, "the tap's port", 10)

    def stop(self, name):
        p = self.procs.pop(name)
        p.send_signal(signal.SIGINT)
        try:
            return p.wait(10)
        except subprocess.TimeoutExpired:
            p.kill()
            return f"{name} did not end on SIGINT"


def wait_for(condition, what, timeout=30):
    """The condition's first true value; a stale or hidden element counts as not yet."""
    from selenium.common.exceptions import WebDriverException
    end = time.time() + timeout
    while time.time() < end:
        try:
            last = condition()
        except WebDriverException:
            last = None
        if last:
            return last
        time.sleep(0.1)
    raise AssertionError(f"timed out waiting for {what}")


def close(a, b):
    return len(a) == len(b) and all(abs(x - y) < 1e-5 for p, q in zip(a, b) for x, y in zip(p, q))


def browser():
    from selenium import webdriver
    from selenium.webdriver.chrome.service import Service
    options = webdriver.ChromeOptions()
    options.binary_location = "/usr/bin/chromium"
    for flag in ("--headless", "--no-sandbox", "--disable-gpu", "--disable-quic", "--no-first-run",
                 "--disable-background-networking", "--disable-component-update", "--disable-sync",
                 "--window-size=1500,1000", "--user-data-dir=" + tempfile.mkdtemp(prefix="plovrest-chromium.")):
        options.add_argument(flag)
    return webdriver.Chrome(service=Service("/usr/bin/chromedriver"), options=options)


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--build-dir", required=True)
    parser.add_argument("--scenarios", default=os.path.join(os.path.dirname(__file__), "../../tools/scenarios"))
    parser.add_argument("--screenshot", required=True)
    args = parser.parse_args()
    try:
        import selenium  # noqa: F401
        assert os.access("/usr/bin/chromium", os.X_OK) and os.access("/usr/bin/chromedriver", os.X_OK)
    except (ImportError, AssertionError):
        print("browser test: chromium, chromium-driver or python3-selenium missing (scripts/install-deps.sh)")
        return 1 if os.environ.get("CI") == "true" else 77
    dd, presentations, ed2_cell = expected(args.scenarios, args.build_dir)

    run = Run(os.path.abspath(args.build_dir))
    scenario = os.path.join(run.tmp, "scenario.json")
    json.dump({"description": "DD+, DD+ with a NaN position, ED2", "steps": STEPS}, open(scenario, "w"))
    driver = None
    try:
        run.start_tap()
        run.start("plovrestd", f"{run.build}/MainBoard/Frame/plovrestd", "-s", "2", "-i", "lo")
        run.start("sim", f"{run.build}/tools/plovrest-sim", "--scenario-file", scenario, "--zoom", "on",
                  "--decoder-state", "processing", "--at", f"{STOP_AT}:decode stop", "--at", f"{PRESET_AT}:preset on")
        driver = browser()
        driver.get(f"http://127.0.0.1:{PORT}/")
        page = lambda key="": driver.execute_script(READ_PAGE, key)

        wait_for(lambda: page()["state"] == "Decoding" and page()["event"] == "(Dolby Zoom)", "Decoding (Dolby Zoom)")
        wait_for(lambda: "TypeId 16" in (p := page(dd["cell"][0]))["what"] and close(p["objects"], dd["objects"])
                 and p["classes"] == dd["classes"] and p["beds"] == dd["beds"] and p["cell"] == dd["cell"][1],
                 "the DD+ objects, beds and object count")
        wait_for(lambda: "AtmosInfo.ExData[0].PaObjects[1].x.Data: a non-finite number" in page()["banner"],
                 "the banner of the document cut at the NaN position")
        for index, pa in enumerate(presentations[:2]):
            if index == 1:
                wait_for(lambda: driver.find_element("css selector", "#pa-select option[value='1']").click() or True,
                         "a click on presentation 1")
            wait_for(lambda: "TypeId 60" in (p := page(ed2_cell[0]))["what"] and close(p["objects"], pa["objects"])
                     and p["beds"] == pa["beds"] and p["cell"] == ed2_cell[1], f"ED2 presentation {pa['name']!r}")
        wait_for(lambda: driver.execute_script("return [...document.querySelectorAll('#changes tbody tr')].some("
                                               "r => r.cells[2].textContent == '/TypeId' && r.cells[4].textContent == '60')"),
                 "the change of TypeId to 60 in the table of changes")
        os.makedirs(os.path.dirname(os.path.abspath(args.screenshot)), exist_ok=True)
        driver.save_screenshot(args.screenshot)

        wait_for(lambda: page()["state"] == "Not Decoding", "Not Decoding after decode stop")
        wait_for(lambda: page()["state"] == "Decoding" and page()["event"] == "(Dolby Preset)" and page()["history"] >= 3,
                 "Decoding (Dolby Preset) and three states in the history")

        assert run.stop("tap") == 0, "the tap did not end cleanly with a browser connected"
        wait_for(lambda: page()["link"] == "reconnecting", "the page to notice the tap has gone", 10)
        run.start_tap()
        wait_for(lambda: page()["link"] == "live" and page()["state"] == "Decoding", "the page to reconnect", 15)
        print("browser test: passed; screenshot", args.screenshot)
        return 0
    except AssertionError as e:
        print("browser test: FAILED:", e, "\nlast page state:", driver and page(), "\nlogs in", run.tmp)
        return 1
    finally:
        if driver:
            driver.quit()
        for name in list(run.procs):
            run.stop(name)


if __name__ == "__main__":
    sys.exit(main())
