"""16-bit pages through tifffile: tifffile_page.py IN OUT. Every page of the file, at half its size, 16 bits kept."""

import sys

import tifffile

import platen


def main(source: str, target: str) -> None:
    with tifffile.TiffFile(source) as pages, tifffile.TiffWriter(target) as out:
        for page in pages.pages:
            half = platen.adjust(page.asarray(), scale=0.5)
            out.write(half, photometric=page.photometric, metadata=None)


if __name__ == "__main__":
    main(*sys.argv[1:3])
