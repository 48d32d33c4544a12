"""A small server for the projects of a studio: what `heron sync` and front-ends exchange them with."""
