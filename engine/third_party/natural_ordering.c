/* Stands in for the ordering library that MUMPS and Ipopt link to and that we may not redistribute.
 *
 * The interior point asks for MUMPS' own orderings, so nothing here is called in normal use. Should
 * something call it all the same, the answers are valid though poor: the natural elimination order,
 * and parts of consecutive vertices. Signatures are those of METIS 4 (32-bit indices). */

static void natural_order(const int* n, const int* first, int* permutation, int* inverse) {
    for (int i = 0; i < *n; ++i) {
        permutation[i] = i + *first;
        inverse[i] = i + *first;
    }
}

/* Fortran entry: orders the graph of n vertices; first is 0 or 1, the number of the first vertex.
 */
void metis_nodend_(const int* n, const int* starts, const int* neighbours, const int* first,
                   const int* options, int* permutation, int* inverse) {
    (void)starts, (void)neighbours, (void)options;
    natural_order(n, first, permutation, inverse);
}

/* Fortran entry: the same with vertex weights. */
void metis_nodewnd_(const int* n, const int* starts, const int* neighbours, const int* weights,
                    const int* first, const int* options, int* permutation, int* inverse) {
    (void)starts, (void)neighbours, (void)weights, (void)options;
    natural_order(n, first, permutation, inverse);
}

/* Splits n vertices into count parts; cut receives the number of edges between parts. */
void METIS_PartGraphKway(const int* n, const int* starts, const int* neighbours,
                         const int* vertex_weights, const int* edge_weights, const int* weighted,
                         const int* first, const int* count, const int* options, int* cut,
                         int* part) {
    (void)vertex_weights, (void)edge_weights, (void)weighted, (void)options;
    for (int i = 0; i < *n; ++i) part[i] = (int)((long long)i * *count / *n) + *first;
    *cut = 0;
    for (int i = 0; i < *n; ++i)
        for (int k = starts[i] - *first; k < starts[i + 1] - *first; ++k)
            *cut += part[i] != part[neighbours[k] - *first];
    *cut /= 2; /* every edge was met from both ends */
}
