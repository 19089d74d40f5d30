"""A page through imageio: imageio_page.py IN OUT. Grey, with its contrast raised and its letters sharpened."""

import sys

import imageio
import numpy as np

import platen


def main(source: str, target: str) -> None:
    page = np.asarray(imageio.imread(source))
    imageio.imwrite(target, platen.adjust(page, contrast=25, sharpness=1))


if __name__ == "__main__":
    main(*sys.argv[1:3])
