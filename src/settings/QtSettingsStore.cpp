// Settings file backend (being written).
