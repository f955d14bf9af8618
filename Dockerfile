# Builds and tests Quillon on Debian 12, and keeps the programs alone:
#
#     docker build -t quillon .
#     docker run --rm -i quillon < examples/knapsack.pb
#     docker run --rm -i --entrypoint opb2quillon quillon < problem.opb
FROM debian:bookworm-slim AS build
WORKDIR /quillon
COPY scripts scripts
RUN scripts/setup.sh tests
COPY . .
RUN scripts/test.sh release
RUN cmake --install build/release --component program --prefix /quillon/installed

FROM debian:bookworm-slim
RUN apt-get update \
    && apt-get install -y --no-install-recommends libstdc++6 zlib1g libbz2-1.0 liblzma5 \
       coinor-libclp1 \
    && rm -rf /var/lib/apt/lists/*
COPY --from=build /quillon/installed /usr/local
USER nobody
ENTRYPOINT ["quillon"]
