#!/usr/bin/env bash
# Runs what users run: the documents' own commands and snippets, and the scripts and examples around
# the program, against a program that is built.
#     scripts/test-users.sh [PROGRAM]    build/release/quillon unless told, built if it is not there
set -euo pipefail
cd "$(dirname "$0")/.."

scripts/install-packages.sh \
    chromium \
    chromium-driver \
    fish \
    fonts-dejavu-core \
    g++ \
    groff-base \
    jq \
    libboost-dev \
    libboost-filesystem-dev \
    libmono-system-runtime-serialization4.0-cil \
    mandoc \
    mono-mcs \
    mono-runtime \
    nlohmann-json3-dev \
    python3 \
    python3-bjdata \
    python3-bson \
    python3-cbor2 \
    python3-ezdxf \
    python3-jinja2 \
    python3-jsonschema \
    python3-matplotlib \
    python3-msgpack \
    python3-numpy \
    python3-pip \
    python3-pymongo \
    python3-selenium \
    python3-tqdm \
    python3-setuptools \
    python3-ubjson \
    python3-venv \
    python3-wheel \
    slurm-wlm \
    zsh
[ $# -gt 0 ] || scripts/build.sh release

# Debian's own Python, because the packages above belong to it.
export QUILLON PYTHONDONTWRITEBYTECODE=1
QUILLON=$(realpath "${1:-build/release/quillon}")
for tests in users tools; do
    /usr/bin/python3 -m unittest discover -s "tests/$tests" -p '*_test.py'
done
