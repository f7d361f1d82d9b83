#!/usr/bin/python3
# SPDX-License-Identifier: Apache-2.0
"""Times vlix_histPeaks beside scipy.signal.find_peaks in one process, calls in turn, and prints a table.

usage: bench/scipy_peaks.py [LIBRARY]    (build/release/lib/libVlixMeas.so by default)
"""
import ctypes
import statistics
import sys
import time

import numpy
from scipy.signal import find_peaks

COUNT = 65536
REPETITIONS = 41
TYPE_POINT_F32 = 29


class VlixVector(ctypes.Structure):
    _fields_ = [("type", ctypes.c_uint32), ("data", ctypes.c_void_p), ("count", ctypes.c_int32),
                ("reserved", ctypes.c_int32)]


def heights(noisy):
    noise = numpy.random.default_rng(3).integers(0, 100000, COUNT).astype(numpy.float32)
    if noisy:
        return noise
    x = numpy.arange(COUNT, dtype=numpy.float32)
    return numpy.floor(2000 + 1000 * numpy.sin(x * numpy.float32(0.01)) + noise * numpy.float32(3e-4))


def main():
    meas = ctypes.CDLL(sys.argv[1] if len(sys.argv) > 1 else "build/release/lib/libVlixMeas.so", ctypes.RTLD_GLOBAL)
    meas.vlix_histPeaks.argtypes = [ctypes.c_void_p, ctypes.c_void_p, ctypes.c_int32, ctypes.c_float]
    library_of_records = ctypes.CDLL(None)
    print("| 65536 points | ours | SciPy find_peaks | ratio |\n|---|---|---|---|")
    for noisy in (True, False):
        y = heights(noisy)
        points = numpy.empty((COUNT, 2), numpy.float32)
        points[:, 0] = numpy.arange(COUNT)
        points[:, 1] = y
        hist = VlixVector(TYPE_POINT_F32, points.ctypes.data, COUNT, 0)
        for distance in (None, 20):
            found = VlixVector()

            def ours():
                library_of_records.VlixVectorRelease(ctypes.byref(found), 0)
                meas.vlix_histPeaks(ctypes.byref(hist), ctypes.byref(found), 1, -1.0 if distance is None else distance)

            def peer():
                return find_peaks(y, distance=distance)[0]

            times = {ours: [], peer: []}
            for _ in range(REPETITIONS):
                for run in (ours, peer):
                    start = time.perf_counter()
                    run()
                    times[run].append(time.perf_counter() - start)
            if distance is None:
                buffer = (ctypes.c_float * (2 * found.count)).from_address(found.data)
                places = numpy.frombuffer(buffer, numpy.float32)[::2]
                # Plateaus: the middle here, the pixel at or before it there.
                assert numpy.array_equal(numpy.floor(places), peer()), "the peaks differ"
            mine, theirs = (statistics.median(times[run]) * 1e6 for run in (ours, peer))
            name = ("noise" if noisy else "smooth") + ("" if distance is None else ", distance 20")
            print(f"| {name} | {mine:.0f} us | {theirs:.0f} us | {theirs / mine:.1f} |")


if __name__ == "__main__":
    main()
