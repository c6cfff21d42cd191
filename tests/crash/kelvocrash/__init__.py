"""A harness that kills console and service while they work, and checks all files afterwards."""
