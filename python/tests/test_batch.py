"""platen-batch: 200 pages, two workers, one of which is killed; and command lines. test_batch_more.py has the rest."""

import os
import subprocess

import batches
import conftest
import pytest

pytest.importorskip("distributed")

OPTIONS = ("--scale=0.6", "--sharpness=1")


def test_200_pages_two_workers_one_killed(tmp_path):
    source, out, alone = tmp_path / "in", tmp_path / "out", tmp_path / "alone"
    batches.tree(source, 200)
    batches.batch(*OPTIONS, "--workers=1", source, alone)
    expected = batches.files(alone)
    assert len(expected) == 200 and set(expected) == set(batches.files(source))

    run = batches.start(*OPTIONS, "--workers=2", source, out)
    batches.wait_for(lambda: batches.count(out) > 20)
    victim = batches.worker_pids(run)[0]
    assert batches.count(out) < 200 and batches.kill(victim)
    _, said = run.communicate(timeout=300)
    assert run.returncode == 0, said
    batches.check_complete(out, expected)
    told = batches.report(out)
    assert told["pages"] == {"done_now": 200, "unchanged": 0, "not_done": 0, "left": 0, "inputs_gone": 0}
    assert len(told["sample"]) == 10
    page = (out / ".platen-batch" / "report.html").read_text()
    assert page.count("<img ") == 20 and "no picture" not in page

    # A second run does nothing; --verify finds the outputs as they were written.
    assert "0 pages to do, 200 done before" in batches.batch(*OPTIONS, source, out)
    assert "200 outputs compared with the manifest, 0 differ" in batches.batch(*OPTIONS, "--verify", source, out)


def test_a_lost_connection_is_no_failure_of_the_page():
    from distributed.comm import CommClosedError

    from platen.batch import _run

    class Future:
        def __init__(self, error):
            self.error = error

        def result(self, timeout):
            raise self.error

    flow = _run.Flow(None, None, 2, "page")
    closed, broken = Future(CommClosedError("reset by peer")), Future(OSError("can't be read"))
    flow._flying = {closed: ("one", 1), broken: ("two", 1)}
    assert flow._take_one(closed) is None
    assert list(flow._again) == [("one", 1)]
    assert flow._take_one(broken) == _run.Outcome("two", None, "OSError: can't be read")
    assert list(flow._again) == [("one", 1)]


def test_default_options_count_once(tmp_path):
    """Those of the user who starts the run, written down with the settings; a worker reads none."""
    source, out, expected = batches.small_tree(tmp_path / "in", 2), tmp_path / "out", tmp_path / "expected"
    defaults = tmp_path / "config" / "platen" / "defaults.toml"
    defaults.parent.mkdir(parents=True)
    defaults.write_text("[[tone]]\nbrightness = 30\n")
    environment = dict(os.environ, XDG_CONFIG_HOME=str(tmp_path / "config"))
    expected.mkdir()
    pages = sorted(source.iterdir())
    subprocess.run([conftest.TOOL, "--brightness=30", "--gamma=0.8", *pages, "-o", expected / "%s.ppm"], check=True)
    batches.batch("--gamma=0.8", "--workers=1", source, out, env=environment)
    assert batches.files(out) == batches.files(expected)
    plain = tmp_path / "plain"
    batches.batch("--gamma=0.8", "--no-defaults", "--workers=1", source, plain, env=environment)
    assert batches.files(plain) != batches.files(out)
    assert 'brightness' not in batches.report(plain)["settings"]


def test_one_pages_numbers_for_all(tmp_path):
    """What --same-for-all is refused for: a page's own numbers, kept as a preset."""
    source, out, expected = batches.small_tree(tmp_path / "in", 2), tmp_path / "out", tmp_path / "expected"
    pages = sorted(source.iterdir())
    preset = tmp_path / "numbers.toml"
    automatic = ["--auto-white", "--auto-levels=2,2"]
    words = [conftest.TOOL, *automatic, f"--save-preset={preset}", pages[0], "-o", tmp_path / "first.ppm"]
    subprocess.run(words, check=True, stderr=subprocess.DEVNULL)
    expected.mkdir()
    words = [conftest.TOOL, *automatic, "--same-for-all", *pages, "-o", expected / "%s.ppm"]
    subprocess.run(words, check=True, stderr=subprocess.DEVNULL)
    batches.batch(f"--preset={preset}", "--workers=1", source, out)
    assert batches.files(out) == batches.files(expected)


USAGE = [
    ((), "expected IN and OUT, got 0 names"),
    (("--gamma", "1.2", "IN", "OUT"), "expected IN and OUT, got 3 names"),
    (("IN/none", "OUT"), "is not a folder"),
    (("IN", "IN"), "IN and OUT are the same folder"),
    (("--gama=1.2", "IN", "OUT"), "unknown option '--gama=1.2'"),
    (("--gamma=77", "IN", "OUT"), "--gamma: '77' is out of range"),
    (("--platen=/none", "IN", "OUT"), "/none: can't be run"),
    (("--auto-white", "--same-for-all", "IN", "OUT"), "--same-for-all: not available in a batch; each page is a separate run; to use"),
    (("-j2", "IN", "OUT"), "--jobs: not available in a batch; --workers=N sets how many pages are processed at a time"),
    (("-n", "IN", "OUT"), "--dry-run: not available in a batch; platen -n shows the plan of a page"),
    (("--verify", "IN", "OUT/none"), "is not a folder"),
]


@pytest.mark.parametrize("words,message", USAGE)
def test_wrong_command_lines(tmp_path, words, message):
    source = batches.small_tree(tmp_path / "in", 1)
    words = [word.replace("IN", str(source)).replace("OUT", str(tmp_path / "out")) for word in words]
    assert message in batches.batch(*words, code=2)
    assert not (tmp_path / "out").exists()
