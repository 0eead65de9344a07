"""The parts of lab/report: what a recording says, what is drawn of it, and the two forms of that."""
