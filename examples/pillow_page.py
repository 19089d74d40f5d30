"""A page through Pillow: pillow_page.py IN OUT. Metadata that matters (resolution, profile) is handed on."""

import sys

import numpy as np
from PIL import Image

import platen


def main(source: str, target: str) -> None:
    with Image.open(source) as image:
        page = np.asarray(image.convert("RGB"))
        dpi, profile = image.info.get("dpi", (300, 300)), image.info.get("icc_profile")
    page = platen.adjust(page, levels=(30, 220), saturation=10, scale=0.5)
    half = (dpi[0] / 2, dpi[1] / 2)
    Image.fromarray(page).save(target, dpi=half, icc_profile=profile)


if __name__ == "__main__":
    main(*sys.argv[1:3])
