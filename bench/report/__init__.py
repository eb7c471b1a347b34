"""What bench/run makes of its measurements: tables, charts and the figures of docs/performance.md."""
