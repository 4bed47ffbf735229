// The engine's output on a fixed set of jobs, one hash per job, on one
// thread with a fixed generator seed: built against two versions of engine/
// by identity.sh, the two lists must be the same for a change that keeps the
// output. Jobs: plain and donor erases on python3-skimage's coffee photo and
// on it enlarged, a clone, a whole-picture selection, and a crop view of a
// larger photo as the window passes it.
#include "threadfromqthread.h"
#include <omp.h>
#include <opencv2/imgcodecs.hpp>
#include <opencv2/imgproc.hpp>
#include <cstdio>
static cv::Mat layer(cv::Size s, cv::Rect r, cv::Scalar c){ cv::Mat m(s,CV_8UC4,cv::Scalar::all(0)); if(r.area()>0)m(r).setTo(c); return m;}
static unsigned long long h(const cv::Mat&m){unsigned long long x=1469598103934665603ULL; for(int y=0;y<m.rows;++y){const uchar*p=m.ptr(y); for(size_t i=0;i<m.cols*m.elemSize();++i){x^=p[i];x*=1099511628211ULL;}} return x;}
int main()
{
    omp_set_num_threads(1);
  cv::Mat small=cv::imread("/usr/lib/python3/dist-packages/skimage/data/coffee.png"); cv::Mat big; cv::resize(small,big,cv::Size(1200,800),0,0,cv::INTER_CUBIC);
  ThreadFromQThread t; const cv::Scalar R(0,0,255,128), G(0,255,0,128);
  struct J{ cv::Mat base; cv::Rect red; cv::Rect green; bool donor; bool clone; };
  J jobs[]={ {small,{300,250,60,50},{},false,false}, {small,{350,260,40,40},{100,100,150,120},true,false}, {big,{500,400,200,160},{},false,false},
             {big,{600,300,120,100},{50,500,400,250},true,false}, {small,{100,100,40,30},{},false,true}, {big,{0,0,1200,800},{},false,false}, {small,{290,240,90,80},{},false,false} };
  int k=0; for(J&j:jobs){ cv::Mat img=j.base.clone();
    if(j.clone){ cv::Mat comp=img.clone(); t.setCloneJob(img,comp,JobType::Clone,60,20,layer(img.size(),j.red,R)); }
    else t.setEraseJob(img,img,layer(img.size(),j.red,R),layer(img.size(),j.green,G),j.donor,JobType::Erase);
    t.run(); printf("job %d failed %d %016llx\n",k++,(int)t.failed(),h(img)); }
  // a crop view, as the window passes it
  { cv::Mat img=big.clone(); cv::Rect crop(300,200,700,500); cv::Mat v=img(crop); t.setEraseJob(v,v,layer(img.size(),{600,400,80,60},R)(crop),layer(img.size(),{},G)(crop),false,JobType::Erase); t.run(); printf("job view failed %d %016llx\n",(int)t.failed(),h(img)); }
}
