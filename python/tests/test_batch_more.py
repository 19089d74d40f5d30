"""platen-batch: what can go wrong, with small trees. Part of scripts/nightly: each run starts a cluster, which takes some
seconds."""

import os
import re
import signal
import subprocess
import sys

import batches
import conftest
import pytest

pytest.importorskip("distributed")

OPTIONS = ("--scale=0.6", "--sharpness=1")
PRESET = conftest.SOURCE / "programs" / "presets" / "book-yellowed.toml"


def test_killed_in_the_middle_only_the_rest_runs(tmp_path):
    source, out, alone = tmp_path / "in", tmp_path / "out", tmp_path / "alone"
    batches.tree(source, 80)
    batches.batch(*OPTIONS, source, alone)
    run = batches.start(*OPTIONS, "--workers=2", source, out)
    batches.wait_for(lambda: batches.count(out) > 20)
    os.killpg(run.pid, signal.SIGKILL)  # the program, its scheduler and its workers
    run.communicate()
    done = batches.rows(out, "SELECT count(*) FROM pages WHERE status = 'done'")[0][0]
    assert 0 < done < 80
    said = batches.batch(*OPTIONS, "--workers=2", source, out)
    assert f"{80 - done} pages to do, {done} done before and unchanged" in said
    assert batches.report(out)["pages"]["done_now"] == 80 - done
    batches.check_complete(out, batches.files(alone))


def test_runs_do_what_is_missing_or_changed(tmp_path):
    source, out = batches.small_tree(tmp_path / "in"), tmp_path / "out"
    run = lambda *more, code=0: batches.batch("--scale=0.5", *more, source, out, code=code)
    assert "8 pages to do" in run()
    first = batches.files(out)

    (out / "p0001.ppm").unlink()
    assert "1 pages to do, 7 done before" in run()
    assert batches.files(out) == first

    os.utime(source / "p0002.ppm")  # a new time, the same bytes
    said = run()
    assert "1 pages to do" in said and "0 pages done" in said
    assert "0 pages to do, 8 done before" in run()

    (source / "p0003.ppm").write_bytes((source / "p0004.ppm").read_bytes())
    said = run()
    assert "1 pages to do" in said and "1 pages done" in said
    assert batches.files(out)["p0003.ppm"] == first["p0004.ppm"]

    assert "8 pages to do" in batches.batch("--scale=0.25", source, out), "other settings"
    assert "8 pages to do" in run(), "and back"

    (source / "p0005.ppm").unlink()
    run()
    assert batches.report(out)["pages"]["inputs_gone"] == 1

    (out / "p0006.ppm").write_bytes(b"x" * len(first["p0006.ppm"]))
    said = run("--verify", code=1)
    assert "p0006.ppm: has other bytes than those that were written" in said
    (out / "p0007.ppm").unlink()
    assert "p0007.ppm: is missing" in run("--verify", code=1)


def test_a_bad_page_fails_alone(tmp_path):
    source, out = batches.small_tree(tmp_path / "in"), tmp_path / "out"
    good = (source / "p0003.ppm").read_bytes()
    (source / "p0003.ppm").write_bytes(good[:200])
    (source / "notes.txt").write_text("no page")
    (source / "broken.png").symlink_to("nowhere")
    said = batches.batch("--scale=0.5", source, out, code=1)
    assert "8 pages to do, 1 unreadable, 1 files are not pages" in said
    assert "p0003.ppm: the file ends too early" in said or "p0003.ppm: " in said
    assert "broken.png: is neither a file nor a link to one" in said
    assert "7 pages done" in said and "2 not done" in said
    assert set(batches.files(out)) == {f"p{n:04}.ppm" for n in range(8)} - {"p0003.ppm"}
    failures = {row["input"]: row["message"] for row in batches.report(out)["failures"]}
    assert set(failures) == {"p0003.ppm", "broken.png"} and str(tmp_path) not in failures["p0003.ppm"]

    said = batches.batch("--scale=0.5", source, out, code=1)
    assert "0 pages to do" in said and "1 failed before (--retry-failed" in said
    assert "1 pages to do" in batches.batch("--scale=0.5", "--retry-failed", source, out, code=1)
    (source / "p0003.ppm").write_bytes(good)
    assert "1 pages to do" in batches.batch("--scale=0.5", source, out, code=1), "it has changed"
    (source / "broken.png").unlink()
    assert "0 not done" in batches.batch("--scale=0.5", source, out)


def test_inputs_with_one_output_are_refused(tmp_path):
    source, out = batches.small_tree(tmp_path / "in", 3), tmp_path / "out"
    subprocess.run([conftest.TOOL, source / "p0001.ppm", "-o", source / "p0001.tif"], check=True)
    said = batches.batch("--scale=0.5", "--format=png", source, out, code=1)
    assert "p0001.tif: would have the same output as p0001.ppm: p0001.png" in said
    assert "p0001.ppm: would have the same output as p0001.tif: p0001.png" in said
    assert set(batches.files(out)) == {"p0000.png", "p0002.png"}
    (source / "p0001.tif").unlink()
    batches.batch("--scale=0.5", "--format=png", source, out)
    before = batches.files(out)
    subprocess.run([conftest.TOOL, source / "p0002.ppm", "-o", source / "p0001.tif"], check=True)
    said = batches.batch("--scale=0.5", "--format=png", source, out, code=1)
    assert "p0001.tif: would have" in said and "p0001.ppm: would have" not in said, "the first one keeps its output"
    assert batches.files(out) == before


def test_files_of_others_stay(tmp_path):
    source, out = batches.small_tree(tmp_path / "in", 3), tmp_path / "out"
    out.mkdir()
    (out / "p0001.ppm").write_text("somebody's")
    said = batches.batch("--scale=0.5", source, out, code=1)
    assert "p0001.ppm: p0001.ppm exists and is not from this batch; --force replaces it" in said
    assert (out / "p0001.ppm").read_text() == "somebody's" and batches.count(out) == 3
    batches.batch("--scale=0.5", "--force", source, out)
    assert (out / "p0001.ppm").read_bytes().startswith(b"P6")


def test_an_unreadable_folder(tmp_path):
    source, out = batches.small_tree(tmp_path / "in", 3), tmp_path / "out"
    batches.small_tree(source / "locked", 2)
    (source / "locked").chmod(0)
    words = [sys.executable, batches.PROGRAM, "--scale=0.5", source, out]
    if os.geteuid() == 0:  # nothing is locked for root
        out.mkdir()
        for folder in [out, tmp_path, *tmp_path.parents]:
            if str(folder).startswith(str(tmp_path.parents[1])):
                folder.chmod(0o777)
        words = ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups", *words]
    run = subprocess.run(
        [str(word) for word in words], stderr=subprocess.PIPE, text=True, check=False, env=dict(os.environ, HOME=str(tmp_path))
    )
    (source / "locked").chmod(0o755)
    assert run.returncode == 1, run.stderr
    assert "locked: the folder can't be read: Permission denied" in run.stderr
    assert "3 pages done" in run.stderr
    assert "2 pages to do" in batches.batch("--scale=0.5", source, out)


def test_a_full_disk_stops_the_run_and_loses_nothing(tmp_path):
    if subprocess.run(["unshare", "-rm", "true"], stderr=subprocess.DEVNULL, check=False).returncode != 0:
        pytest.skip("a small disk can't be made here")
    source, out = batches.small_tree(tmp_path / "in", 0), tmp_path / "out"
    batches.base_pages(source, 40, 200)
    out.mkdir()
    script = """
set -eu
mount -t tmpfs -o size=1500k none "$3"
code=0; "$1" "$2" --scale=0.9 "$4" "$3" || code=$?
echo "first $code $(find "$3" -name 'p*.ppm' | wc -l)"
mount -o remount,size=20m "$3"
code=0; "$1" "$2" --scale=0.9 "$4" "$3" || code=$?
echo "second $code $(find "$3" -name 'p*.ppm' | wc -l)"
"""
    words = ["unshare", "-rm", "sh", "-c", script, "sh", sys.executable, batches.PROGRAM, out, source]
    run = subprocess.run(
        [str(word) for word in words], stdout=subprocess.PIPE, stderr=subprocess.PIPE, text=True, check=True
    )
    first, second = run.stdout.splitlines()
    assert first.startswith("first 3 ") and 0 < int(first.split()[2]) < 40, run.stdout + run.stderr
    assert "No space left on device" in run.stderr and "make room and run again" in run.stderr
    assert second == "second 0 40"
    # What was written while the manifest's disk was full too isn't recorded, and is done again.
    done = int(re.search(r"(\d+) done before and unchanged", run.stderr).group(1))
    assert 0 < done <= int(first.split()[2])


def test_every_kernel_variant_gives_the_same_files(tmp_path):
    source = batches.small_tree(tmp_path / "in", 6)
    variants = subprocess.run(
        [conftest.BUILD / "tests" / "kernels" / "list_variants"], stdout=subprocess.PIPE, text=True, check=True
    ).stdout.split()
    assert "reference" in variants and len(variants) > 1
    options = (f"--preset={PRESET}", "--saturation=20", "--scale=0.7", "--sharpness=1", "--workers=2")
    made = {}
    for variant in variants:
        out = tmp_path / variant
        environment = dict(os.environ, PLATEN_TEST_KERNELS=variant)
        batches.batch(f"--platen={batches.FORCED}", *options, source, out, env=environment)
        made[variant] = batches.files(out)
        assert len(made[variant]) == 6
    assert all(pages == made["reference"] for pages in made.values())


def test_no_scheduler(tmp_path):
    source, out = batches.small_tree(tmp_path / "in", 1), tmp_path / "out"
    said = batches.batch("--scale=0.5", "--scheduler=tcp://127.0.0.1:9", "--patience=1", source, out, code=3)
    assert "no scheduler answers at tcp://127.0.0.1:9; run again" in said


def test_one_run_at_a_time(tmp_path):
    # As many pages as the first run can't have done before the second has started.
    source, out = batches.small_tree(tmp_path / "in", 1500), tmp_path / "out"
    run = batches.start("--scale=0.5", source, out)
    batches.wait_for(lambda: batches.count(out) > 2)
    said = batches.batch("--scale=0.5", source, out, code=2)
    assert "another run is using this manifest" in said
    run.send_signal(signal.SIGINT)
    run.communicate(timeout=60)
    assert run.returncode == 130


def test_an_interrupt_ends_it_in_order(tmp_path):
    source, out = batches.small_tree(tmp_path / "in", 100), tmp_path / "out"
    run = batches.start("--scale=0.5", source, out)
    batches.wait_for(lambda: batches.count(out) > 5)
    run.send_signal(signal.SIGINT)
    _, said = run.communicate(timeout=60)
    assert run.returncode == 130 and "interrupted; run again to go on" in said
    assert not (out / ".platen-batch" / "unfinished").exists()
    batches.batch("--scale=0.5", source, out)
    assert batches.count(out) == 100


def test_names_that_are_no_utf8(tmp_path):
    source, out = batches.small_tree(tmp_path / "in", 1), tmp_path / "out"
    odd = os.fsencode(source) + b"/\xff\xfe <b>.ppm"
    os.rename(source / "p0000.ppm", odd)
    batches.batch("--scale=0.5", source, out)
    assert os.path.exists(os.fsencode(out) + b"/\xff\xfe <b>.ppm")
    assert "0 pages to do, 1 done before" in batches.batch("--scale=0.5", source, out)
