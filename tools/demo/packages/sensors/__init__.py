# Installed by sensors.zfw: readings of the board's own sensors.
