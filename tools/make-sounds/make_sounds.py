#!/usr/bin/env python3
"""Writes QuillBay's two alert sounds into resources/: a soft two-note chime for new articles and a
single bell-like tone for a finished download. 44.1 kHz, 16-bit, mono; run from the repository root."""
import math
import struct
import sys
import wave

RATE = 44100


def partials(frequency, seconds, decay, overtones):
    """A struck tone: the fundamental with a few quieter overtones, each dying away exponentially."""
    count = int(RATE * seconds)
    samples = [0.0] * count
    for ratio, level, fade in overtones:
        for i in range(count):
            t = i / RATE
            samples[i] += level * math.exp(-t * decay * fade) * math.sin(2 * math.pi * frequency * ratio * t)
    attack = int(RATE * 0.004)
    for i in range(min(attack, count)):
        samples[i] *= i / attack
    return samples


def mix(length, *placed):
    out = [0.0] * length
    for start, samples in placed:
        offset = int(RATE * start)
        for i, value in enumerate(samples):
            if offset + i < length:
                out[offset + i] += value
    return out


def write(path, samples, loudness):
    peak = max(abs(s) for s in samples) or 1.0
    frames = b"".join(struct.pack("<h", int(32767 * loudness * s / peak)) for s in samples)
    with wave.open(path, "wb") as out:
        out.setnchannels(1)
        out.setsampwidth(2)
        out.setframerate(RATE)
        out.writeframes(frames)


def main():
    folder = sys.argv[1] if len(sys.argv) > 1 else "resources"
    soft = [(1.0, 1.0, 1.0), (2.0, 0.25, 1.6), (3.0, 0.08, 2.4)]
    chime = mix(int(RATE * 0.6), (0.0, partials(659.25, 0.35, 9.0, soft)), (0.14, partials(987.77, 0.45, 7.0, soft)))
    write(f"{folder}/NewArticles.wav", chime, 0.45)
    bell = [(1.0, 1.0, 1.0), (2.76, 0.4, 1.8), (5.40, 0.18, 2.8), (8.93, 0.06, 4.0)]
    write(f"{folder}/DownloadCompleted.wav", partials(880.0, 0.65, 5.0, bell), 0.5)


if __name__ == "__main__":
    main()
