"""A harness that kills console and service at random moments and checks all files afterwards."""
