"""The checks that come with the glTF host: `core.Api(operator, environment, checks=heron.checks)`.

They look at the scene that was opened or activated last, see `heron.checking.GltfCheck`.
"""
