"""Several threads at a time, and filters with different lightness at a time."""

import sys
import threading

import conftest
import numpy as np
import pytest

import platen


def test_filters_with_different_lightness_keep_apart():
    page = conftest.random_page(1, 300, 301, 3)
    lightness = (-40, 0, 25, 25, 60, -7)
    filters = [platen.HsvFilter(saturation=30, lightness=value) for value in lightness]
    expected = [conftest.oracle_hsv(page, saturation=30, lightness=value) for value in lightness]
    for hsv, result in list(zip(filters, expected)) * 2:
        assert np.array_equal(hsv.apply(page), result), "in turns on one thread"
    wrong = []

    def work(hsv, result):
        for _ in range(15):
            if not np.array_equal(hsv.apply(page), result):
                wrong.append(hsv)
            platen.HsvFilter(lightness=99)  # its set-up rebuilds the library's table

    threads = [threading.Thread(target=work, args=pair) for pair in zip(filters, expected)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert wrong == []


def test_one_filter_on_several_threads():
    page = conftest.random_page(2, 400, 300, 3)
    hsv = platen.HsvFilter(hue=33, lightness=5)
    out = np.zeros_like(page)

    def work(first):
        for y in range(first, 400, 4):
            hsv.apply(page[y], out=out[y])

    threads = [threading.Thread(target=work, args=(first,)) for first in range(4)]
    for thread in threads:
        thread.start()
    for thread in threads:
        thread.join()
    assert np.array_equal(out, conftest.oracle_hsv(page, hue=33, lightness=5))


@pytest.mark.parametrize("make", [lambda: platen.Scaler((3000, 2000), (2999, 1999)), lambda: platen.Sharpener(1, (3000, 2000))])
def test_the_interpreter_runs_on_and_a_second_thread_is_refused(make):
    """While one thread is at work in the library, this one runs: it meets the object in use, and is told so."""
    page = np.zeros((2000, 3000, 3), np.uint8)
    stream = make()
    interval = sys.getswitchinterval()
    sys.setswitchinterval(1000)  # the interpreter takes the lock from nobody: work has to give it away
    refused = 0
    try:
        for _ in range(50):
            thread = threading.Thread(target=stream.apply, args=(page,))
            thread.start()
            while thread.is_alive() and refused == 0:
                try:
                    stream.reset()
                except RuntimeError as error:
                    assert "another thread is using this object" in str(error)
                    refused += 1
            thread.join()
            if refused:
                break
    finally:
        sys.setswitchinterval(interval)
    assert refused == 1
