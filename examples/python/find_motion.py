#!/usr/bin/env python3
"""Finds when something moved in a recording, lists these events and draws them.

    find_motion.py RECORDING --plot motion.png
"""

from __future__ import annotations

import argparse
import datetime as dt
import sys
from dataclasses import dataclass

import matplotlib

matplotlib.use("Agg")  # Draws into files, without a screen.

import matplotlib.dates as dates
import matplotlib.pyplot as plt
import numpy as np

import camera_depth_rw


@dataclass
class Motion:
    """What moved between each frame and the one before it."""

    times: list[dt.datetime]
    percent: np.ndarray  # of the pixels that have depth in both frames
    distance: np.ndarray  # metres, median of the moving pixels; nan where nothing moved


@dataclass
class Event:
    begin: dt.datetime
    end: dt.datetime
    peak: float  # percent


def measure_motion(recording: camera_depth_rw.Recording, contrast: float) -> Motion:
    """A pixel moves when its depth changes by more than `contrast` of its depth."""
    times, percent, distance = [], [], []
    before = None
    for frame in recording:
        if frame.time is None:
            sys.exit("the frames of this recording have no times")
        if before is not None:
            both = frame.valid & before.valid
            moving = both & (np.abs(frame.depth - before.depth) > contrast * frame.depth)
            times.append(frame.time)
            percent.append(100 * moving.sum() / max(1, both.sum()))
            distance.append(np.median(frame.depth[moving]) if moving.any() else np.nan)
        before = frame
    return Motion(times, np.array(percent), np.array(distance))


def smooth(values: np.ndarray, frames: int) -> np.ndarray:
    """Running mean, over fewer frames at both ends."""
    window = np.ones(frames)
    return np.convolve(values, window, "same") / np.convolve(np.ones_like(values), window, "same")


def find_events(motion: Motion, level: np.ndarray, threshold: float, pause: float) -> list[Event]:
    """Stretches above the threshold; those with less than `pause` seconds between them are one."""
    events: list[Event] = []
    for time, percent in zip(motion.times, level):
        if percent <= threshold:
            continue
        if events and (time - events[-1].end).total_seconds() < pause:
            events[-1].end = time
            events[-1].peak = max(events[-1].peak, percent)
        else:
            events.append(Event(time, time, percent))
    return events


def plot(
    motion: Motion, level: np.ndarray, events: list[Event], threshold: float, path: str
) -> None:
    figure, (share, depth) = plt.subplots(
        2, 1, sharex=True, figsize=(10, 5.2), height_ratios=(2, 1), layout="constrained"
    )
    share.plot(motion.times, motion.percent, color="0.7", linewidth=1, label="each frame")
    share.plot(motion.times, level, color="tab:blue", linewidth=2, label="running mean")
    share.axhline(threshold, color="tab:red", linestyle="--", linewidth=1, label="threshold")
    share.set_ylabel("moving pixels (%)")
    share.set_ylim(bottom=0)
    share.set_title(f"{len(events)} motion events")
    depth.plot(motion.times, motion.distance, ".", color="tab:green", markersize=4)
    depth.set_ylabel("their distance (m)")
    depth.set_xlabel(motion.times[0].strftime("time on %Y-%m-%d"))
    depth.xaxis.set_major_formatter(dates.DateFormatter("%H:%M:%S"))
    for axes in (share, depth):
        axes.grid(alpha=0.3)
        for number, event in enumerate(events):
            label = "event" if number == 0 and axes is share else None
            axes.axvspan(event.begin, event.end, color="tab:orange", alpha=0.25, label=label)
    share.legend(loc="upper right")
    figure.savefig(path, dpi=100)
    plt.close(figure)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("recording", help="its directory")
    parser.add_argument("--plot", metavar="FILE", help="draw the events into this file")
    parser.add_argument("--threshold", type=float, default=2.5, help="percent of moving pixels")
    parser.add_argument("--contrast", type=float, default=0.1, help="relative change of depth")
    parser.add_argument("--smooth", type=int, default=9, help="frames of the running mean")
    parser.add_argument("--pause", type=float, default=0.5, help="seconds that end an event")
    arguments = parser.parse_args()

    try:
        with camera_depth_rw.open_recording(arguments.recording, colour=False) as recording:
            motion = measure_motion(recording, arguments.contrast)
    except camera_depth_rw.CameraDepthError as error:
        sys.exit(f"find_motion.py: {error}")
    if not motion.times:
        sys.exit("find_motion.py: motion wants two frames")
    level = smooth(motion.percent, arguments.smooth)
    events = find_events(motion, level, arguments.threshold, arguments.pause)
    for event in events:
        seconds = (event.end - event.begin).total_seconds()
        begin = event.begin.isoformat(" ", "milliseconds")
        print(f"{begin}  {seconds:6.3f} s  up to {event.peak:.1f} % moving")
    if arguments.plot:
        plot(motion, level, events, arguments.threshold, arguments.plot)
    return 0


if __name__ == "__main__":
    sys.exit(main())
