"""What bench/run makes of its measurements: the data file, charts and the figures of docs/performance.md."""
