"""platen-batch: a tree of pages through the tool, on one machine or on a Dask cluster. See docs/batch.md."""
