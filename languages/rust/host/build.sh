cargo build --offline
