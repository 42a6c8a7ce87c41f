/* faiss refers to these for the training of transforms that Quillon never trains. */
#include <stdlib.h>

void dgemm_(void) { abort(); }
void dgesvd_(void) { abort(); }
void dsyev_(void) { abort(); }
void sgeqrf_(void) { abort(); }
void sgesvd_(void) { abort(); }
void sorgqr_(void) { abort(); }
