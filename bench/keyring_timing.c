/* Stores and then looks up N generic passwords through libsecret, talking to
   the desktop keyring over D-Bus, and prints the median time of each kind of
   call in microseconds: "store <median> lookup <median>". Run inside a
   private D-Bus session with a private keyring (compare-keyring.sh). */
#include <libsecret/secret.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <time.h>

static const SecretSchema kSchema = {
    "org.example.KeychainBench", SECRET_SCHEMA_NONE,
    {{"service", SECRET_SCHEMA_ATTRIBUTE_STRING}, {"account", SECRET_SCHEMA_ATTRIBUTE_STRING}, {NULL, 0}}};

static double Now(void) {
  struct timespec t;
  clock_gettime(CLOCK_MONOTONIC, &t);
  return t.tv_sec * 1e6 + t.tv_nsec / 1e3;
}

static int Compare(const void *a, const void *b) {
  const double x = *(const double *)a, y = *(const double *)b;
  return (x > y) - (x < y);
}

static double Median(double *v, int n) {
  qsort(v, (size_t)n, sizeof *v, Compare);
  return v[n / 2];
}

int main(int argc, char **argv) {
  const int n = argc > 1 ? atoi(argv[1]) : 1000;
  double *store = calloc((size_t)n, sizeof *store), *lookup = calloc((size_t)n, sizeof *lookup);
  char account[64], secret[64];
  GError *error = NULL;
  for (int i = 0; i < n; ++i) {
    snprintf(account, sizeof account, "account-%d", i);
    snprintf(secret, sizeof secret, "secret-%d", i);
    const double t0 = Now();
    if (!secret_password_store_sync(&kSchema, SECRET_COLLECTION_DEFAULT, "bench", secret, NULL, &error, "service",
                                    "service", "account", account, NULL)) {
      fprintf(stderr, "store failed: %s\n", error ? error->message : "?");
      return 1;
    }
    store[i] = Now() - t0;
  }
  srand(42);
  for (int i = 0; i < n; ++i) {
    snprintf(account, sizeof account, "account-%d", rand() % n);
    const double t0 = Now();
    gchar *found = secret_password_lookup_sync(&kSchema, NULL, &error, "service", "service", "account", account, NULL);
    lookup[i] = Now() - t0;
    if (found == NULL) {
      fprintf(stderr, "lookup failed: %s\n", error ? error->message : "not found");
      return 1;
    }
    secret_password_free(found);
  }
  printf("store %.1f lookup %.1f\n", Median(store, n), Median(lookup, n));
  return 0;
}
