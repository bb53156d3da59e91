"""What is made, tried in clean places."""
